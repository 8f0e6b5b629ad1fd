#pragma once
// Files the commands write for the user: whole or not at all. The text goes to
// a temporary file beside the target, which is renamed over it only once every
// byte is on disk, so a failure leaves what was there before, and nothing else.

#include <optional>
#include <string>

namespace tessel::cli {

// None on success; otherwise the sentence to print ("could not write FILE: reason").
std::optional<std::string> writeWholeFile(const std::string& path, const std::string& text);

} // namespace tessel::cli
