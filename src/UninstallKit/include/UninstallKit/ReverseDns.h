#pragma once
// How identifiers in reverse-DNS form ("com.vendor.app") are read: their
// vendor, their parents, and the identifier a file or folder name carries
// once a team prefix, a decoration and an extension are taken off it.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::ReverseDns {

// Lower case, letters and digits only: "Foo-Bar 2" is "foobar2".
std::string fold(std::string_view text);
// The first two pieces, lower-cased ("com.foo" of "com.Foo.App"); none with fewer than two.
std::optional<std::string> vendor(std::string_view identifier);
// Whether `identifier` is `prefix` or starts with it followed by a dot:
// "com.foo" is a prefix of "com.foo.app", not of "com.foobar".
bool hasPrefix(std::string_view prefix, std::string_view identifier);
// The identifier and each of its parents, lower-cased, longest first: a.b.c, a.b, a.
std::vector<std::string> lineage(std::string_view identifier);
// Ten characters, digits and capital letters only, as a developer team's prefix is.
bool isTeamIdentifier(std::string_view text);
bool isTopLevelDomain(std::string_view text);
// The identifier a name carries ("ABCDE12345.com.foo.app" → "com.foo.app",
// "group.com.foo" → "com.foo", "com.foo.bar.plist" → "com.foo.bar"), lower-cased;
// none when what is left has fewer than three pieces or does not start with a
// top-level domain.
std::optional<std::string> identifier(std::string_view name);

} // namespace tessel::ReverseDns
