#pragma once
// Who a leftover seems to belong to, in words a person reads: the owner of
// "com.spotify.client" is Spotify (spotify.com), of "org.mozilla.firefox.beta"
// Firefox's Beta channel of Mozilla (mozilla.org), of a removed package's
// folder the package. Leftovers are grouped by `key`, one group per owner.

#include <optional>
#include <string>
#include <string_view>

namespace tessel {

struct LeftoverOwner {
    std::string key;                   // lower-cased: the vendor, or the name of what was removed
    std::string name;                  // "Spotify"
    std::optional<std::string> domain; // "spotify.com"
    std::optional<std::string> channel; // "Beta", from a name that ends in a release track
    std::optional<std::string> appPath; // an app of the owner that still lies somewhere, such as the Trash

    struct Reading {
        std::string key;
        std::string name;
        std::optional<std::string> domain;
        std::optional<std::string> channel;
    };

    // An identifier in reverse-DNS form read into its owner; none for a plain name.
    static std::optional<Reading> read(std::string_view identifier);
    // The owner of a name that is not in reverse-DNS form: a removed package, an app that is gone.
    static LeftoverOwner named(std::string_view name);
    static LeftoverOwner of(const Reading& reading);

    // A word as a name is written: "spotify" is "Spotify", "macos" "macOS", "gimp2" "Gimp".
    static std::string prettifyWord(std::string_view word);
    // Whether a path lies in a trash: the Mac's .Trash and .Trashes, a Linux
    // home's Trash and another disk's .Trash-UID.
    static bool isInTrash(std::string_view path);
};

} // namespace tessel
