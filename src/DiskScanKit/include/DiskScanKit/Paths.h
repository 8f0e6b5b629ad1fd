#pragma once
// Paths in normal form: absolute where they can be, no "." or empty
// components, ".." resolved by name, no trailing "/". Two paths name the same
// place only when their normal forms are equal.

#include <string>
#include <string_view>

namespace tessel::Paths {

// Expands a leading "~" with `home`, then normalises.
std::string standardized(std::string_view path, std::string_view home);
std::string standardized(std::string_view path);
// A relative path made absolute against the working folder, then standardised.
std::string absolute(std::string_view path);
// A relative path put after the working folder and a leading "~" expanded,
// nothing else: ".." after a link means the link's target's parent, which
// only a walk of the disk can tell, so it is left for that walk.
std::string absoluteAsTyped(std::string_view path);
// Equal to `ancestor`, or below it at a component boundary.
bool isWithin(std::string_view path, std::string_view ancestor);
std::string join(std::string_view folder, std::string_view name);
std::string_view lastComponent(std::string_view path);
std::string homeFolder();
// A folder of the XDG base directories: the environment's `variable` when it
// holds an absolute path (the standard ignores a relative one), else `home`
// followed by `fallback`: xdgFolder("XDG_CONFIG_HOME", home, ".config").
std::string xdgFolder(const char* variable, std::string_view home, std::string_view fallback);
// The path a local file URL names, decoded byte for byte ("file:///a%20b",
// "file://localhost/a"); empty for any other URL or a malformed one.
std::string fromFileUrl(std::string_view url);
// Every byte but ASCII letters, digits, "-", "_", ".", "~" and "/" as %XX,
// as a file URL or a trash's .trashinfo writes a path.
std::string percentEncoded(std::string_view path);

} // namespace tessel::Paths
