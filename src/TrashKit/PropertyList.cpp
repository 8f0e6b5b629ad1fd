// Property lists through libplist, measured before they are parsed.
//
// libplist reads whatever it is given, and three kinds of input take it down.
// A list nested a million levels deep parses, but copying and freeing it
// recurse once per level and run out of stack. A binary list may point many
// times at one object, and libplist unfolds every reference into its own
// copy: an array of two references to the next array, thirty times over,
// becomes 2^30 values from a few hundred bytes. And one long string referred
// to from a hundred thousand places becomes a hundred thousand long strings.
//
// So before libplist sees the bytes, a cheap pass measures what they would
// become: how deep, how many values, how many bytes of strings and data. Past
// any limit the list is none, exactly as if it could not be read, and the
// caller's rule for an unreadable list applies.
//
// For XML the pass counts tags: an opening tag goes one level down and counts
// a value, a closing tag comes back up, and `<true/>` is a value on the spot.
// Comments, processing instructions, declarations and CDATA are stepped over
// as libplist steps over them, and a ">" between double quotes doesn't end a
// tag. Every value is written out in XML, so the byte limit bounds the rest.
//
// For a binary list the pass walks the objects from the top one, depth first
// on a stack of its own, measures each object once, and adds a shared
// object's measure at every reference to it; a cycle is refused. Worked
// example, three objects:
//
//   2: string "ab"       1 value,  2 bytes, depth 1
//   1: array [2]         2 values, 2 bytes, depth 2
//   0: array [1, 1]      5 values, 4 bytes, depth 3   (the top)
//
// Chained thirty times, the values double at each level, and the walk stops
// at the limit having read only a few dozen objects.

#include "TrashKit/PropertyList.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tessel {

namespace {

// Larger than any preferences file, Info.plist or database this program reads.
constexpr std::size_t maxBytes = std::size_t{64} << 20;
// Real lists are a dozen levels deep; at this depth libplist's recursion is still far from the stack's end.
constexpr std::size_t maxDepth = 512;
// A Dock of a hundred tiles holds a few thousand values.
constexpr std::uint64_t maxValues = std::uint64_t{1} << 18;
// What the bytes of strings and data may unfold into: no more than the input could hold in XML.
constexpr std::uint64_t maxPayload = maxBytes;

bool xmlWithinLimits(std::string_view xml) {
    std::size_t depth = 0;
    std::uint64_t values = 0;
    std::size_t at = 0;
    const auto skipPast = [&](std::size_t from, std::string_view end) {
        const std::size_t found = xml.find(end, from);
        if (found == std::string_view::npos) return false;
        at = found + end.size();
        return true;
    };
    while ((at = xml.find('<', at)) != std::string_view::npos) {
        const std::string_view rest = xml.substr(at);
        bool closed = true;
        if (rest.starts_with("<!--")) {
            closed = skipPast(at + 4, "-->");
        } else if (rest.starts_with("<![CDATA[")) {
            closed = skipPast(at + 9, "]]>");
        } else if (rest.starts_with("<?")) {
            closed = skipPast(at + 2, "?>");
        } else if (rest.starts_with("<!")) {
            closed = skipPast(at + 2, ">");
        } else {
            std::size_t end = at + 1;
            bool quoted = false;
            for (; end < xml.size(); ++end) {
                if (xml[end] == '"') quoted = !quoted;
                else if (xml[end] == '>' && !quoted) break;
            }
            if (end == xml.size()) return false; // a tag cut off: not a list
            if (xml[at + 1] == '/') {
                if (depth > 0) --depth;
            } else {
                if (++values > maxValues) return false;
                if (xml[end - 1] != '/' && ++depth > maxDepth) return false;
            }
            at = end + 1;
        }
        if (!closed) return false;
    }
    return true;
}

// The binary format: "bplist00", the objects, a table of their offsets, and a
// 32-byte trailer naming the table, the top object and the widths used.
class BinaryMeasure {
public:
    explicit BinaryMeasure(std::string_view bytes) : bytes_(bytes) {}

    bool withinLimits() {
        if (bytes_.size() < 8 + 32 || !bytes_.starts_with("bplist00")) return false;
        const std::size_t trailer = bytes_.size() - 32;
        offsetWidth_ = static_cast<unsigned char>(bytes_[trailer + 6]);
        referenceWidth_ = static_cast<unsigned char>(bytes_[trailer + 7]);
        count_ = number(trailer + 8, 8);
        const std::uint64_t top = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        if (offsetWidth_ < 1 || offsetWidth_ > 8 || referenceWidth_ < 1 || referenceWidth_ > 8) return false;
        if (count_ == 0 || count_ > maxValues || top >= count_) return false;
        if (table_ < 9 || table_ > trailer || count_ * offsetWidth_ > trailer - table_) return false;
        return walk(top);
    }

private:
    struct Measure {
        std::uint64_t depth = 0;
        std::uint64_t values = 0;
        std::uint64_t payload = 0;
    };
    struct Object {
        std::uint64_t index = 0;
        std::uint64_t referencesAt = 0;
        std::uint64_t references = 0;
        std::uint64_t next = 0;
        std::uint64_t payload = 0;
        Measure children; // deepest child, and the sums of all
    };

    std::uint64_t number(std::uint64_t at, unsigned width) const {
        std::uint64_t value = 0;
        for (unsigned i = 0; i < width; ++i) value = (value << 8) | static_cast<unsigned char>(bytes_[at + i]);
        return value;
    }

    // Reads the object's marker: how many references follow and where, or its payload.
    bool describe(std::uint64_t index, Object& object) const {
        const std::uint64_t at = number(table_ + index * offsetWidth_, offsetWidth_);
        if (at < 8 || at >= table_) return false;
        const unsigned marker = static_cast<unsigned char>(bytes_[at]);
        const unsigned kind = marker >> 4;
        std::uint64_t length = marker & 0xF;
        std::uint64_t after = at + 1;
        const bool counted = kind == 0x4 || kind == 0x5 || kind == 0x6 || (kind >= 0xA && kind <= 0xD);
        if (counted && length == 0xF) { // the length follows as an integer object
            if (after >= table_) return false;
            const unsigned lengthMarker = static_cast<unsigned char>(bytes_[after]);
            const unsigned width = 1U << (lengthMarker & 0xF);
            if ((lengthMarker >> 4) != 0x1 || width > 8 || width > table_ - after - 1) return false;
            length = number(after + 1, width);
            after += 1 + width;
        }
        // A counted object's units are at least a byte each; a number's or a date's low
        // bits are its width, and a boolean, a null or a fill byte holds nothing after it.
        const std::uint64_t fixedBytes = kind == 0x1 || kind == 0x2 ? (length < 4 ? 1U << length : 16) : kind == 0x3 ? 8 : 0;
        if ((counted ? length : fixedBytes) > table_ - after) return false;
        object = Object{index, after, 0, 0, 0, {}};
        if (kind == 0x4 || kind == 0x5) {
            object.payload = length;
        } else if (kind == 0x6) {
            object.payload = 2 * length;
            // libplist 2.2 turns a UTF-16 NUL into UTF-8 but keeps the uncut length, and
            // later reads past the end of the string; no name or path holds one.
            for (std::uint64_t unit = 0; unit < length && unit < (table_ - after) / 2; ++unit)
                if (number(after + 2 * unit, 2) == 0) return false;
        } else if (kind >= 0xA && kind <= 0xD) {
            object.references = kind == 0xD ? 2 * length : length;
            if (object.references > (table_ - after) / referenceWidth_) return false;
        }
        return object.payload <= table_ - after;
    }

    // Each child is within the limits, so that no sum of them can overflow.
    static void add(Measure& sum, const Measure& child) {
        sum.depth = std::max(sum.depth, child.depth);
        sum.values += child.values;
        sum.payload += child.payload;
    }

    bool walk(std::uint64_t top) {
        enum : unsigned char { unseen, onPath, measured };
        std::vector<unsigned char> state(static_cast<std::size_t>(count_), unseen);
        std::vector<Measure> measures(static_cast<std::size_t>(count_));
        std::vector<Object> path(1);
        if (!describe(top, path.back())) return false;
        state[static_cast<std::size_t>(top)] = onPath;
        while (!path.empty()) {
            Object& object = path.back();
            if (object.next < object.references) {
                const std::uint64_t child =
                    number(object.referencesAt + object.next * referenceWidth_, referenceWidth_);
                ++object.next;
                if (child >= count_) return false;
                const auto slot = static_cast<std::size_t>(child);
                if (state[slot] == onPath) return false; // a cycle
                if (state[slot] == measured) {
                    add(object.children, measures[slot]);
                    continue;
                }
                if (path.size() >= maxDepth) return false;
                Object described;
                if (!describe(child, described)) return false;
                state[slot] = onPath;
                path.push_back(described);
                continue;
            }
            const Measure measure{object.children.depth + 1, object.children.values + 1,
                                  object.children.payload + object.payload};
            const auto slot = static_cast<std::size_t>(object.index);
            state[slot] = measured;
            measures[slot] = measure;
            path.pop_back();
            if (measure.values > maxValues || measure.payload > maxPayload) return false;
            if (!path.empty()) add(path.back().children, measure);
        }
        return true;
    }

    std::string_view bytes_;
    unsigned offsetWidth_ = 0;
    unsigned referenceWidth_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t table_ = 0;
};

} // namespace

PropertyList::~PropertyList() {
    if (node_ != nullptr) plist_free(node_);
}

PropertyList::PropertyList(const PropertyList& other)
    : node_(other.node_ != nullptr ? plist_copy(other.node_) : nullptr) {}

PropertyList& PropertyList::operator=(const PropertyList& other) {
    if (this != &other) *this = PropertyList(other);
    return *this;
}

PropertyList::PropertyList(PropertyList&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}

PropertyList& PropertyList::operator=(PropertyList&& other) noexcept {
    std::swap(node_, other.node_);
    return *this;
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > maxBytes) return std::nullopt;
    plist_t node = nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    if (bytes.starts_with("bplist")) {
        if (!BinaryMeasure(bytes).withinLimits()) return std::nullopt;
        plist_from_bin(bytes.data(), length, &node);
    } else {
        // XML holds no NUL, and libplist 2.2 keeps a string cut at one with its
        // uncut length, then reads past its end when writing it out.
        if (bytes.find('\0') != std::string_view::npos || !xmlWithinLimits(bytes)) return std::nullopt;
        // A copy that ends in a NUL, so that a reader looking for the terminator stops there.
        const std::string terminated(bytes);
        plist_from_xml(terminated.c_str(), length, &node);
    }
    if (node == nullptr) return std::nullopt;
    return PropertyList(node);
}

PropertyList PropertyList::dictionary() { return PropertyList(plist_new_dict()); }
PropertyList PropertyList::array() { return PropertyList(plist_new_array()); }
PropertyList PropertyList::text(std::string_view value) { return PropertyList(plist_new_string(std::string(value).c_str())); }
PropertyList PropertyList::integer(std::int64_t value) { return PropertyList(plist_new_uint(static_cast<std::uint64_t>(value))); }
PropertyList PropertyList::boolean(bool value) { return PropertyList(plist_new_bool(value ? 1 : 0)); }
PropertyList PropertyList::data(std::string_view bytes) {
    return PropertyList(plist_new_data(bytes.empty() ? "" : bytes.data(), bytes.size()));
}

std::string PropertyList::toXml() const {
    if (node_ == nullptr) return {};
    char* xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node_, &xml, &length);
    std::string text = xml != nullptr ? std::string(xml, length) : std::string();
    plist_to_xml_free(xml);
    return text;
}

std::string PropertyList::toBinary() const {
    if (node_ == nullptr) return {};
    char* binary = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node_, &binary, &length);
    std::string bytes = binary != nullptr ? std::string(binary, length) : std::string();
    plist_to_bin_free(binary);
    return bytes;
}

PropertyList::Type PropertyList::type() const {
    if (node_ == nullptr) return Type::none;
    switch (plist_get_node_type(node_)) {
    case PLIST_DICT: return Type::dictionary;
    case PLIST_ARRAY: return Type::array;
    case PLIST_STRING: return Type::string;
    case PLIST_UINT: return Type::integer;
    case PLIST_REAL: return Type::real;
    case PLIST_BOOLEAN: return Type::boolean;
    case PLIST_DATA: return Type::data;
    case PLIST_DATE: return Type::date;
    default: return Type::other;
    }
}

std::optional<PropertyList> PropertyList::get(std::string_view key) const {
    if (type() != Type::dictionary) return std::nullopt;
    plist_t item = plist_dict_get_item(node_, std::string(key).c_str());
    if (item == nullptr) return std::nullopt;
    return PropertyList(plist_copy(item));
}

std::optional<std::string> PropertyList::string(std::string_view key) const {
    if (type() != Type::dictionary) return std::nullopt;
    plist_t item = plist_dict_get_item(node_, std::string(key).c_str());
    if (item == nullptr || plist_get_node_type(item) != PLIST_STRING) return std::nullopt;
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(item, &length);
    return text != nullptr ? std::string(text, length) : std::string();
}

std::vector<std::string> PropertyList::keys() const {
    std::vector<std::string> names;
    if (type() != Type::dictionary) return names;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node_, &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node_, iterator, &key, &value);
        if (key == nullptr) break;
        names.emplace_back(key);
        std::free(key);
    }
    std::free(iterator);
    return names;
}

void PropertyList::set(std::string_view key, const PropertyList& value) {
    if (type() != Type::dictionary || value.node_ == nullptr) return;
    plist_dict_set_item(node_, std::string(key).c_str(), plist_copy(value.node_));
}

void PropertyList::remove(std::string_view key) {
    if (type() == Type::dictionary) plist_dict_remove_item(node_, std::string(key).c_str());
}

std::size_t PropertyList::size() const { return type() == Type::array ? plist_array_get_size(node_) : 0; }

PropertyList PropertyList::at(std::size_t index) const {
    if (index >= size()) return {};
    return PropertyList(plist_copy(plist_array_get_item(node_, static_cast<std::uint32_t>(index))));
}

void PropertyList::append(const PropertyList& item) {
    if (type() == Type::array && item.node_ != nullptr) plist_array_append_item(node_, plist_copy(item.node_));
}

void PropertyList::insert(std::size_t index, const PropertyList& item) {
    if (index >= size()) {
        append(item);
        return;
    }
    if (item.node_ != nullptr) plist_array_insert_item(node_, plist_copy(item.node_), static_cast<std::uint32_t>(index));
}

void PropertyList::removeAt(std::size_t index) {
    if (index < size()) plist_array_remove_item(node_, static_cast<std::uint32_t>(index));
}

std::optional<std::string> PropertyList::asString() const {
    if (type() != Type::string) return std::nullopt;
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node_, &length);
    return text != nullptr ? std::string(text, length) : std::string();
}

std::optional<std::int64_t> PropertyList::asInteger() const {
    if (type() != Type::integer) return std::nullopt;
    std::uint64_t value = 0;
    plist_get_uint_val(node_, &value);
    return static_cast<std::int64_t>(value); // libplist keeps negative integers as their two's complement
}

std::optional<bool> PropertyList::asBoolean() const {
    if (type() != Type::boolean) return std::nullopt;
    std::uint8_t value = 0;
    plist_get_bool_val(node_, &value);
    return value != 0;
}

namespace {
// 2001-01-01, where property-list dates count from, in seconds since 1970.
constexpr std::int64_t propertyListEpoch = 978'307'200;
} // namespace

PropertyList PropertyList::date(std::int64_t seconds) {
    return PropertyList(plist_new_date(static_cast<std::int32_t>(seconds - propertyListEpoch), 0));
}

std::optional<std::int64_t> PropertyList::asDate() const {
    if (type() != Type::date) return std::nullopt;
    std::int32_t seconds = 0, microseconds = 0;
    plist_get_date_val(node_, &seconds, &microseconds);
    return propertyListEpoch + seconds;
}

std::optional<std::string> PropertyList::asData() const {
    if (type() != Type::data) return std::nullopt;
    std::uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(node_, &length);
    return bytes != nullptr ? std::string(bytes, length) : std::string();
}

} // namespace tessel
