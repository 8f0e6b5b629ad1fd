#pragma once
// Property lists, read and written through libplist: XML or binary, a whole
// value owned by this object and copied whole. A file that is not a property
// list, or not the shape asked for, reads as none: the callers decide what
// an unreadable list means for them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

class PropertyList {
public:
    enum class Type { none, dictionary, array, string, integer, real, boolean, data, date, other };

    PropertyList() = default;
    ~PropertyList();
    PropertyList(const PropertyList& other);
    PropertyList& operator=(const PropertyList& other);
    PropertyList(PropertyList&& other) noexcept;
    PropertyList& operator=(PropertyList&& other) noexcept;

    // XML or binary bytes; none when they are neither.
    static std::optional<PropertyList> parse(std::string_view bytes);
    static PropertyList dictionary();
    static PropertyList array();
    static PropertyList text(std::string_view value);
    static PropertyList integer(std::int64_t value);
    static PropertyList boolean(bool value);
    static PropertyList data(std::string_view bytes);
    // Whole seconds since 1970.
    static PropertyList date(std::int64_t seconds);

    std::string toXml() const;
    std::string toBinary() const;

    Type type() const;
    bool isNone() const { return node_ == nullptr; }

    // A dictionary's value at `key`, copied; none when absent or not a dictionary.
    std::optional<PropertyList> get(std::string_view key) const;
    // The same, only when it is a string.
    std::optional<std::string> string(std::string_view key) const;
    std::vector<std::string> keys() const;
    void set(std::string_view key, const PropertyList& value);
    void remove(std::string_view key);

    // An array's items; 0 and no items for anything else.
    std::size_t size() const;
    PropertyList at(std::size_t index) const;
    void append(const PropertyList& item);
    void insert(std::size_t index, const PropertyList& item);
    void removeAt(std::size_t index);

    std::optional<std::string> asString() const;
    std::optional<std::int64_t> asInteger() const;
    std::optional<bool> asBoolean() const;
    std::optional<std::string> asData() const;
    // Seconds since 1970; property lists count from 2001 and keep whole seconds in 32 bits.
    std::optional<std::int64_t> asDate() const;

private:
    explicit PropertyList(void* node) : node_(node) {}
    void* node_ = nullptr; // a plist_t, owned
};

} // namespace tessel
