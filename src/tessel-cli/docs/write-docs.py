#!/usr/bin/env python3
"""write-docs.py TOOL TEMPLATE VERSION DATE OUTDIR: writes tessel's manual
page and its bash, zsh and fish completion from the tool's own help, so that
they say what the tool that is built does, whoever added a command or an
option.

The help has a fixed shape, which is all this reads. `tessel --help` lists
the commands under "Commands:", one a line: two spaces, the name, its summary.
`tessel COMMAND --help` starts with its usage line ("usage: tessel COMMAND
..."), then blocks parted by blank lines: paragraphs of prose, and blocks of
options, each option a line of two spaces, "--name", a placeholder for its
value if it takes one, then its description from column 26, continued on
lines indented that far. For example

    usage: tessel search [options] PATH TEXT
    ...
      --kind files|folders   only files, or only folders
      --min BYTES            only items of at least this many bytes

gives the command search with the positionals PATH and TEXT, the option
--kind with the choices files and folders, and --min with a value to type.
A placeholder FILE completes file names and DIR folders; a positional PATH
completes file names too.

An option or a paragraph that three commands or more carry word for word (the
scan's options, how names travel in JSON) is written once in the manual page,
under SHARED OPTIONS or NOTES, and each command's entry names the options it
shares. The template holds what no help says (exit statuses, environment,
files, examples) and two marker lines where the generated parts go.
"""
import os
import re
import subprocess
import sys
from collections import Counter
from dataclasses import dataclass, field

SHARED_AT = 3
OPTION_LINE = re.compile(r"^  (--[a-z][a-z0-9-]*)(?: (\S+))?(?: {2,}(\S.*))?$")
CONTINUATION = re.compile(r"^ {4,}(\S.*)$")
COMMAND_LINE = re.compile(r"^  ([a-z][a-z0-9-]*) +(\S.*)$")


@dataclass(frozen=True)
class Option:
    name: str  # with its leading "--"
    value: str | None  # the placeholder, such as N, FILE or files|folders
    description: tuple[str, ...]

    def choices(self) -> list[str]:
        return self.value.split("|") if self.value and "|" in self.value else []


def is_options(block: tuple) -> bool:
    return isinstance(block[0], Option)


@dataclass
class Command:
    name: str
    summary: str
    usage: str = ""
    # In the help's order: a paragraph is a tuple of lines, an option block a tuple of Options.
    blocks: list[tuple] = field(default_factory=list)

    def options(self) -> list[Option]:
        return [option for block in self.blocks if is_options(block) for option in block]

    def paragraphs(self) -> list[tuple[str, ...]]:
        return [block for block in self.blocks if not is_options(block)]

    def positionals(self) -> list[str]:
        """The words of the usage line a user types that are no option's value: PATH, TEXT, PATH..."""
        valued = {option.name for option in self.options() if option.value}
        words = re.sub(r"[\[\]()|]", " ", self.usage).split()[2:]
        found, skip = [], False
        for word in words:
            if not skip and not word.startswith("--") and word.rstrip(".").isupper():
                found.append(word)
            skip = word in valued
        return found


def run(tool: str, *arguments: str) -> str:
    done = subprocess.run([tool, *arguments], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"write-docs: {tool} {' '.join(arguments)} failed with status {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def read_commands(tool: str) -> list[Command]:
    lines = run(tool, "--help").splitlines()
    if "Commands:" not in lines:
        sys.exit(f"write-docs: {tool} --help lists no commands")
    commands = []
    for line in lines[lines.index("Commands:") + 1:]:
        if not line.strip():
            break
        match = COMMAND_LINE.match(line)
        if not match:
            sys.exit(f"write-docs: cannot read the command line \"{line}\" of {tool} --help")
        commands.append(Command(match[1], match[2]))
    for command in commands:
        read_help(command, run(tool, command.name, "--help"))
    return commands


def read_help(command: Command, text: str) -> None:
    lines = text.strip("\n").splitlines()
    if not lines[0].startswith(f"usage: tessel {command.name}"):
        sys.exit(f"write-docs: the help of {command.name} does not start with its usage")
    usage = [lines.pop(0)]
    while lines and lines[0].startswith(" "):
        usage.append(lines.pop(0))
    command.usage = " ".join(line.strip() for line in usage).removeprefix("usage: ")
    # A blank line ends a block, and so does the first option line after prose.
    block: list[str] = []
    for line in [*lines, ""]:
        starts_options = bool(OPTION_LINE.match(line)) and block and not OPTION_LINE.match(block[0])
        if (not line.strip() or starts_options) and block:
            command.blocks.append(read_options(command.name, block) if OPTION_LINE.match(block[0]) else tuple(block))
            block = []
        if line.strip():
            block.append(line)


def read_options(name: str, lines: list[str]) -> tuple[Option, ...]:
    options = []
    for line in lines:
        if match := OPTION_LINE.match(line):
            options.append([match[1], match[2], [match[3]] if match[3] else []])
        elif (match := CONTINUATION.match(line)) and options:
            options[-1][2].append(match[1])
        else:
            sys.exit(f"write-docs: cannot read the option line \"{line}\" of tessel {name} --help")
    return tuple(Option(option, value, tuple(description)) for option, value, description in options)


# The manual page.

def roff_text(line: str) -> str:
    """A line of prose for groff: backslashes kept, an option's dashes as minus
    signs (so that it can be copied), and an option never broken at its hyphens."""
    line = line.replace("\\", "\\e")
    line = re.sub(r"(?<![\w-])--?\w[\w-]*", lambda option: "\\%" + option[0].replace("-", "\\-"), line)
    return "\\&" + line if line.startswith((".", "'")) else line


def roff_option(option: Option) -> str:
    tag = "\\fB" + roff_text(option.name) + "\\fR"
    if option.value:
        tag += " \\fI" + roff_text(option.value) + "\\fR"
    return "\n".join([".TP", tag, *map(roff_text, option.description)])


def roff_command(command: Command, shared: set[Option], shared_text: set[tuple[str, ...]]) -> str:
    heading = roff_text(command.usage).replace('"', "\\(dq")
    parts = [f'.SS "{heading}"', roff_text(command.summary) + "."]
    for block in command.blocks:
        if not is_options(block):
            if block not in shared_text:
                parts += [".PP", *map(roff_text, block)]
            continue
        parts += [roff_option(option) for option in block if option not in shared]
    names = [option.name for option in command.options() if option in shared]
    if names:
        listed = ", ".join("\\fB" + roff_text(name) + "\\fR" for name in names)
        parts += [".PP", f"Shared options: {listed}."]
    return "\n".join(parts)


def manual_page(template: str, version: str, date: str, commands: list[Command]) -> str:
    options = Counter(option for command in commands for option in command.options())
    texts = Counter(paragraph for command in commands for paragraph in command.paragraphs())
    shared = {option for option, count in options.items() if count >= SHARED_AT}
    shared_text = {text for text, count in texts.items() if count >= SHARED_AT}
    listing = [".SH COMMANDS", *[roff_command(command, shared, shared_text) for command in commands]]
    if shared:
        listing += [".SH SHARED OPTIONS", "Each of these means the same in every command that lists it."]
        seen = []
        for command in commands:  # in the order the commands first use them
            seen += [option for option in command.options() if option in shared and option not in seen]
        listing += [roff_option(option) for option in seen]
    notes = []
    for command in commands:
        notes += [paragraph for paragraph in command.paragraphs() if paragraph in shared_text and paragraph not in notes]
    page = template.replace("@VERSION@", version).replace("@DATE@", date)
    page = page.replace(".\\\" @COMMANDS@\n", "\n".join(listing) + "\n")
    page = page.replace(".\\\" @NOTES@\n", "".join("\n".join([".PP", *map(roff_text, note)]) + "\n" for note in notes))
    return page


# The completions. A value the shell cannot guess (a number, a size, a name)
# gets no candidates rather than file names.

def value_kind(placeholder: str | None) -> str:
    if placeholder is None:
        return "flag"
    if "|" in placeholder:
        return "choice"
    return {"FILE": "file", "DIR": "folder"}.get(placeholder, "typed")


def quoted(text: str) -> str:
    """A word for bash and zsh."""
    return "'" + text.replace("'", "'\\''") + "'"


def fish_quoted(text: str) -> str:
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def bash_value(option: Option) -> str:
    """What bash offers for the value of an option that takes one."""
    return {
        "choice": f"mapfile -t COMPREPLY < <(compgen -W {quoted(' '.join(option.choices()))} -- \"$cur\")",
        "file": 'compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$cur")',
        "folder": 'compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$cur")',
        "typed": "COMPREPLY=()",
    }[value_kind(option.value)]


def bash_completion(commands: list[Command]) -> str:
    lines = [
        "# bash completion for tessel, written from its help by write-docs.py",
        "_tessel() {",
        '    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command="" i',
        "    for ((i = 1; i < COMP_CWORD; i++)); do",
        '        [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]}; break; }',
        "    done",
        '    if [[ -z $command ]]; then',
        "        mapfile -t COMPREPLY < <(compgen -W " + quoted(" ".join(["--help", "--version", *(c.name for c in commands)])) + ' -- "$cur")',
        "        return",
        "    fi",
        "    local options valued positionals",
        '    case $command in',
    ]
    for command in commands:
        options = command.options()
        valued = [option.name for option in options if option.value]
        lines += [
            f"        {command.name})",
            "            options=" + quoted(" ".join([*(o.name for o in options), "--help"])),
            "            valued=" + quoted(" ".join(valued)),
            "            positionals=" + quoted(" ".join(command.positionals())),
            '            case $prev in',
        ]
        lines += [f"                {option.name}) {bash_value(option)}; return ;;" for option in options if option.value]
        lines += ["            esac", "            ;;"]
    lines += [
        "        *) return ;;",
        "    esac",
        '    if [[ $cur == -* ]]; then',
        '        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")',
        "        return",
        "    fi",
        "    # Which positional is being typed: count the words that are neither options nor their values.",
        "    local -a wanted=($positionals)",
        "    local count=0 word",
        "    for ((i = i + 1; i < COMP_CWORD; i++)); do",
        "        word=${COMP_WORDS[i]}",
        '        if [[ $word == --* ]]; then',
        '            [[ $word != *=* && " $valued " == *" $word "* ]] && ((i++))',
        "        else",
        "            ((count++))",
        "        fi",
        "    done",
        "    ((${#wanted[@]})) || return",
        '    ((count < ${#wanted[@]})) || count=$((${#wanted[@]} - 1))',
        '    case ${wanted[count]} in',
        '        PATH | PATH...) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;',
        "        *) COMPREPLY=() ;;",
        "    esac",
        "}",
        "complete -F _tessel tessel",
    ]
    return "\n".join(lines) + "\n"


def zsh_described(text: str) -> str:
    return text.replace("\\", "\\\\").replace("[", "\\[").replace("]", "\\]").replace(":", "\\:")


def zsh_value(option: Option) -> str:
    """The part of an _arguments spec that says what the option's value is, if it takes one."""
    return {
        "flag": "",
        "choice": f":{option.value}:({' '.join(option.choices())})",
        "file": ":FILE:_files",
        "folder": ":DIR:_files -/",
        "typed": f":{option.value}: ",
    }[value_kind(option.value)]


def zsh_completion(commands: list[Command]) -> str:
    lines = [
        "#compdef tessel",
        "# zsh completion for tessel, written from its help by write-docs.py",
        "",
        "_tessel() {",
        "    local state line",
        "    local -a commands",
        "    commands=(",
        *(f"        {quoted(command.name + ':' + command.summary.replace(':', chr(92) + ':'))}" for command in commands),
        "    )",
        "    _arguments -C '(- *)--help[show the commands]' '(- *)--version[print the version]' \\",
        "        '1:command:->command' '*::argument:->argument' && return",
        "    case $state in",
        "        command) _describe -t commands 'tessel command' commands ;;",
        "        argument)",
        "            case $words[1] in",
    ]
    for command in commands:
        specs = []
        for option in command.options():
            described = zsh_described(option.description[0] if option.description else option.name)
            specs.append(quoted(f"{option.name}[{described}]{zsh_value(option)}"))
        specs.append(quoted("--help[show this command's options]"))
        for position, positional in enumerate(command.positionals(), start=1):
            action = "_files" if positional.startswith("PATH") else " "
            where = "*" if positional.endswith("...") else str(position)
            specs.append(quoted(f"{where}:{positional.rstrip('.')}:{action}"))
        lines.append(f"                {command.name}) _arguments -s " + " \\\n                    ".join(specs) + " ;;")
    lines += [
        "            esac",
        "            ;;",
        "    esac",
        "}",
        "",
        '_tessel "$@"',
    ]
    return "\n".join(lines) + "\n"


def fish_completion(commands: list[Command]) -> str:
    lines = [
        "# fish completion for tessel, written from its help by write-docs.py",
        "function __tessel_command_is --description 'Whether the tessel line being typed is of this command'",
        "    set -l command",
        "    for word in (commandline -opc)[2..-1]",
        "        if not string match -q -- '-*' $word",
        "            set command $word",
        "            break",
        "        end",
        "    end",
        '    test "$command" = "$argv[1]"',
        "end",
        "complete -c tessel -f",
        "complete -c tessel -n \"__tessel_command_is ''\" -l help -d 'Show the commands'",
        "complete -c tessel -n \"__tessel_command_is ''\" -l version -d 'Print the version'",
    ]
    for command in commands:
        lines.append(f"complete -c tessel -n \"__tessel_command_is ''\" -a {command.name} -d {fish_quoted(command.summary)}")
    for command in commands:
        when = f"-n '__tessel_command_is {command.name}'"
        for option in [*command.options(), Option("--help", None, ("show this command's options",))]:
            described = fish_quoted(option.description[0] if option.description else option.name)
            kind = value_kind(option.value)
            extra = {"flag": "", "choice": f" -x -a {fish_quoted(' '.join(option.choices()))}", "file": " -r -F",
                     "folder": " -x -a '(__fish_complete_directories (commandline -ct))'", "typed": " -x"}[kind]
            lines.append(f"complete -c tessel {when} -l {option.name[2:]}{extra} -d {described}")
        if any(positional.startswith("PATH") for positional in command.positionals()):
            lines.append(f"complete -c tessel {when} -F")
    return "\n".join(lines) + "\n"


def write(path: str, text: str) -> None:
    with open(path + ".new", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(path + ".new", path)


def main() -> None:
    if len(sys.argv) != 6:
        sys.exit("usage: write-docs.py TOOL TEMPLATE VERSION DATE OUTDIR")
    tool, template, version, date, folder = sys.argv[1:]
    commands = read_commands(tool)
    with open(template, encoding="utf-8") as file:
        page = manual_page(file.read(), version, date, commands)
    os.makedirs(folder, exist_ok=True)
    write(os.path.join(folder, "tessel.1"), page)
    write(os.path.join(folder, "tessel.bash"), bash_completion(commands))
    write(os.path.join(folder, "_tessel"), zsh_completion(commands))
    write(os.path.join(folder, "tessel.fish"), fish_completion(commands))


if __name__ == "__main__":
    main()
