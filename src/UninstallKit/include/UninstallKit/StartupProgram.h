#pragma once
// What a startup item's command really runs: an interpreter's script rather
// than the interpreter, the program `env` is asked to start, the app
// `flatpak run` starts. Words only: where they lie on the disk is the reader's.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::StartupProgram {

// Whether the program is a shell, a script interpreter or a launcher whose
// first argument names what really runs: by its last path component, in any case.
bool isInterpreter(std::string_view path);
// The script among an interpreter's arguments (those after the interpreter);
// none when the code stands inline (-c, -e, --eval...) or nothing is named.
std::optional<std::string> target(const std::vector<std::string>& arguments);
// The words without a leading `env` and its NAME=VALUE settings: env A=1 prog
// x runs prog x. With options given to env the words stay as they are.
std::vector<std::string> withoutEnv(const std::vector<std::string>& words);
// The app ID that `flatpak run [options] ID` starts; none for any other command.
std::optional<std::string> flatpakApp(const std::vector<std::string>& words);

} // namespace tessel::StartupProgram
