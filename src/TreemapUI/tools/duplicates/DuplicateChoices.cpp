#include "tools/duplicates/DuplicateChoices.h"

#include <algorithm>
#include <cctype>

namespace tessel::DuplicateChoices {

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

Order orderFrom(const QString& raw) {
    if (raw == QLatin1String("size")) return Order::size;
    if (raw == QLatin1String("copies")) return Order::copies;
    if (raw == QLatin1String("name")) return Order::name;
    return Order::reclaimable;
}

QString orderName(Order order) {
    switch (order) {
    case Order::reclaimable: return QStringLiteral("reclaimable");
    case Order::size: return QStringLiteral("size");
    case Order::copies: return QStringLiteral("copies");
    case Order::name: return QStringLiteral("name");
    }
    return QStringLiteral("reclaimable");
}

std::vector<std::string> namesOf(const DuplicateFile& file) {
    std::vector<std::string> names{file.path};
    names.insert(names.end(), file.otherNames.begin(), file.otherNames.end());
    return names;
}

std::int64_t freedBy(const DuplicateGroup& group, const std::set<std::string>& ticked) {
    std::set<std::string> removing;
    for (const DuplicateFile& file : group.files)
        if (ticked.contains(file.path))
            for (std::string& name : namesOf(file)) removing.insert(std::move(name));
    return DuplicateGroup::reclaimable(group.files, removing);
}

void sort(std::vector<DuplicateGroup>& groups, Order order) {
    const auto firstPath = [](const DuplicateGroup& group) -> const std::string& {
        static const std::string none;
        return group.files.empty() ? none : group.files.front().path;
    };
    const auto name = [&](const DuplicateGroup& group) {
        const std::string& path = firstPath(group);
        return lowered(path.substr(path.rfind('/') + 1));
    };
    std::stable_sort(groups.begin(), groups.end(), [&](const DuplicateGroup& a, const DuplicateGroup& b) {
        switch (order) {
        case Order::reclaimable:
            if (a.reclaimableBytes != b.reclaimableBytes) return a.reclaimableBytes > b.reclaimableBytes;
            break;
        case Order::size:
            if (a.logicalSize != b.logicalSize) return a.logicalSize > b.logicalSize;
            break;
        case Order::copies:
            if (a.files.size() != b.files.size()) return a.files.size() > b.files.size();
            break;
        case Order::name:
            if (const std::string left = name(a), right = name(b); left != right) return left < right;
            break;
        }
        return firstPath(a) < firstPath(b);
    });
}

std::optional<DuplicateGroup> without(const DuplicateGroup& group, const std::set<std::string>& gone) {
    DuplicateGroup left = group;
    std::erase_if(left.files, [&](const DuplicateFile& file) { return gone.contains(file.path); });
    for (DuplicateFile& file : left.files) {
        // A name that went took its link with it.
        const auto removed = std::erase_if(file.otherNames, [&](const std::string& name) { return gone.contains(name); });
        file.linkCount = std::max(1, file.linkCount - static_cast<int>(removed));
        if (file.linkCount < 2 && file.sharing.kind == Sharing::Kind::hardLinked) file.sharing = {};
    }
    if (left.files.size() < 2) return std::nullopt;
    std::set<std::string> removing;
    for (std::size_t index = 1; index < left.files.size(); ++index)
        for (std::string& name : namesOf(left.files[index])) removing.insert(std::move(name));
    left.reclaimableBytes = DuplicateGroup::reclaimable(left.files, removing);
    return left;
}

} // namespace tessel::DuplicateChoices
