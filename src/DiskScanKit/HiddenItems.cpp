// Hidden items and what they are.
//
// The walk is FileSearch's, with two rules: a node is accepted when its name
// begins with ".", and the walk does not enter a folder whose name begins with
// ".". The second rule keeps the list about things a person recognises. Below
// ~/.cache or a project's .git almost every name is hidden or meaningless on
// its own; listing them would bury the folder that holds them, and moving any
// one of them to the Trash alone would only break the tool that owns it. So a
// hidden folder stands for everything inside it, with its total size.
//
// The notes are looked up by exact name, because the same word in another case
// or with a suffix is usually something else (".Trash" is yours, ".trash" is
// some app's). The table is small, so a straight scan finds a name as fast as
// anything that would have to be built first. Names beginning "._" are the
// halves of files that were copied to a disk that can't keep Finder's
// information beside the file; they share one note.

#include "DiskScanKit/HiddenItems.h"

#include <algorithm>

#include "DiskScanKit/FileNode.h"

namespace tessel::HiddenItems {

namespace {

constexpr std::string_view finderInfoPrefix = "._";

bool isHidden(std::string_view name) { return name.starts_with('.'); }

} // namespace

const std::vector<std::pair<std::string_view, HiddenItemNote>>& notes() {
    static const std::vector<std::pair<std::string_view, HiddenItemNote>> table{
        {".Trashes",
         {"The Trash of this drive, holding what was moved to the Trash from it; once it is emptied, "
          "nothing in it can be put back.",
          false}},
        {".Trash",
         {"Your Trash, holding what you moved there from the startup disk; once it is emptied, nothing in "
          "it can be put back.",
          false}},
        {".Spotlight-V100",
         {"Spotlight's search index for this drive. macOS rebuilds it if it goes, but that takes hours and "
          "keeps the disk busy, so leave it alone.",
          true}},
        {".fseventsd",
         {"The record of file changes on this drive that backups and other apps read to catch up; without "
          "it they have to look through the whole drive again.",
          false}},
        {".DocumentRevisions-V100",
         {"Earlier versions of your documents, saved by apps as you work; without it only the current "
          "version of each document remains.",
          false}},
        {".TemporaryItems",
         {"Files that apps set aside for a moment while saving or copying on this drive; anything still "
          "here may belong to an app that is running now.",
          false}},
        {".VolumeIcon.icns",
         {"The custom icon this drive shows in Finder; without it the drive shows the plain icon.",
          false}},
        {".DS_Store",
         {"Finder's view settings for this folder: icon positions, window size and sort order. Finder "
          "writes it again the next time the folder is opened.",
          true}},
        {".localized",
         {"An empty marker that tells Finder to show this folder's name in your language; without it the "
          "name appears in English.",
          false}},
        {".CFUserTextEncoding",
         {"The text encoding and language your account uses by default, read by older apps; it takes almost "
          "no space, and without it those apps may show some text wrongly.",
          false}},
        {".zshrc",
         {"Settings zsh reads each time you open a terminal window, such as aliases, the prompt and your "
          "paths; without it the shell starts with its defaults and your changes are lost.",
          false}},
        {".zprofile",
         {"Settings zsh reads once when you log in, often where tools add themselves to your path; without "
          "it those tools may no longer be found in the terminal.",
          false}},
        {".zshenv",
         {"Settings zsh reads before anything else, even for scripts; without it scripts and tools that "
          "rely on what it sets may stop working.",
          false}},
        {".zlogin",
         {"Commands zsh runs after you log in; without it they no longer run, and whatever they set up is "
          "missing.",
          false}},
        {".bashrc",
         {"Settings bash reads each time you open a terminal window, such as aliases, the prompt and your "
          "paths; without it bash starts with its defaults and your changes are lost.",
          false}},
        {".bash_profile",
         {"Settings bash reads once when you log in, often where tools add themselves to your path; without "
          "it those tools may no longer be found in the terminal.",
          false}},
        {".profile",
         {"Login settings shared by most shells, such as your paths and the editor to use; without it those "
          "shells start with their defaults.",
          false}},
        {".zsh_history",
         {"Commands you typed in zsh, kept so you can find them again; zsh starts a new list if it goes.",
          false}},
        {".bash_history",
         {"Commands you typed in bash, kept so you can find them again; bash starts a new list if it goes.",
          false}},
        {".oh-my-zsh",
         {"Oh My Zsh, the themes and plugins that shape your zsh prompt and shortcuts; without it they stop "
          "working until it is installed again.",
          false}},
        {".ssh",
         {"Your SSH keys and the list of servers you have connected to. A lost private key cannot be "
          "recovered.",
          false}},
        {".gnupg",
         {"Your GnuPG keys and the keys you trust, used to sign and encrypt; a lost secret key cannot be "
          "recovered, and what was encrypted for it can no longer be read.",
          false}},
        {".aws",
         {"Your Amazon Web Services keys and settings for the aws tool; without it the tool can't reach "
          "your accounts until you set it up again.",
          false}},
        {".kube",
         {"Your Kubernetes clusters and the credentials to reach them; without it kubectl knows none of "
          "them until you add them again.",
          false}},
        {".config",
         {"Settings that many command-line tools and apps keep in one place; without it each of them starts "
          "over with its defaults.",
          false}},
        {".cache",
         {"Data that command-line tools and apps keep to work faster; each one downloads or builds what it "
          "needs again.",
          true}},
        {".local",
         {"Programs, data and state that tools installed for you alone; without it those programs are gone, "
          "and their data with them.",
          false}},
        {".git",
         {"A Git repository: the project's full history, branches and settings. Without it the folder is "
          "only its current files, and anything never pushed elsewhere is lost.",
          false}},
        {".vscode",
         {"Visual Studio Code's settings for this project, or its extensions when it sits in your home "
          "folder; without it the editor forgets them and extensions must be installed again.",
          false}},
        {".idea",
         {"A JetBrains IDE's settings for this project, such as run configurations and code style; without "
          "it the IDE starts this project over with its defaults.",
          false}},
        {".build",
         {"What Swift Package Manager built for this project; the next build makes it again from the start.",
          true}},
        {".docker",
         {"Docker's settings and your sign-ins to image registries; without it you sign in again and the "
          "settings go back to their defaults.",
          false}},
        {".npm",
         {"npm's cache of downloaded packages; npm downloads them again when a project needs them.",
          true}},
        {".nvm",
         {"The Node.js versions you installed with nvm, with their global packages; without it they must be "
          "installed again.",
          false}},
        {".next",
         {"What Next.js built for this project; it builds it again on the next run.",
          true}},
        {".gradle",
         {"Gradle's downloaded libraries and caches, with its settings file; builds download the libraries "
          "again, but settings and keys kept here are lost.",
          false}},
        {".m2",
         {"Maven's downloaded libraries, with its settings file; builds download the libraries again, but "
          "settings and passwords kept here are lost.",
          false}},
        {".sdkman",
         {"Java and the other development kits you installed with SDKMAN!; without it they must be "
          "installed again.",
          false}},
        {".android",
         {"Android emulators, the debug key that signs your test builds and the tools' settings; the "
          "emulators and their data are lost, and a new debug key means reinstalling test builds on your "
          "devices.",
          false}},
        {".cargo",
         {"Cargo's downloaded crates and the Rust tools you installed with it; the crates download again "
          "when needed, but the tools must be installed again.",
          false}},
        {".rustup",
         {"The Rust toolchains installed with rustup; without it Rust must be installed again before "
          "anything can be built.",
          false}},
        {".nuget",
         {"NuGet's downloaded .NET packages, with its settings; builds download the packages again, but "
          "settings and feed passwords kept here are lost.",
          false}},
        {".pub-cache",
         {"The packages Dart and Flutter downloaded; they download again when a project needs them.",
          true}},
        {".cocoapods",
         {"CocoaPods' copy of the pod index and the pods it downloaded; the next pod install downloads them "
          "again.",
          true}},
        {".conda",
         {"Conda's environments and the packages they hold; without it those environments must be created "
          "again.",
          false}},
        {".pyenv",
         {"The Python versions you installed with pyenv; without it they must be installed again, with the "
          "packages each one held.",
          false}},
        {".venv",
         {"This project's own Python environment and the packages installed in it; it can only be made "
          "again if the project lists what it needs.",
          false}},
        {".rbenv",
         {"The Ruby versions you installed with rbenv; without it they must be installed again, with their "
          "gems.",
          false}},
        {".gem",
         {"Ruby gems installed for you alone; without it they must be installed again.",
          false}},
    };
    return table;
}

std::optional<HiddenItemNote> explanation(std::string_view name) {
    const auto& table = notes();
    auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.first == name; });
    if (found != table.end()) return found->second;
    if (name.size() > finderInfoPrefix.size() && name.starts_with(finderInfoPrefix))
        return HiddenItemNote{"Finder information for the file with the same name minus the ._, kept apart "
                              "on a drive that can't store it with the file; without it that file loses its "
                              "tags and similar details, never its contents.",
                              false};
    return std::nullopt;
}

SearchResults results(FileNode& root, int limit) {
    return FileSearch::run(
        FileQuery{}, root, limit, [](const FileNode& node) { return isHidden(node.name()); },
        [](const FileNode& folder) { return !isHidden(folder.name()); });
}

} // namespace tessel::HiddenItems
