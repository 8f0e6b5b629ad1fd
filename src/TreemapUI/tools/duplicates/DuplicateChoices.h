#pragma once
// The decisions of the duplicates room, apart from its state: what the
// ticked copies would free, the order of the groups, and what a group is once
// some of its files went. Which copy stays and why is DuplicateWords', which
// the command-line tool says too.

#include <QString>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DiskScanKit/DuplicateGroup.h"

namespace tessel::DuplicateChoices {

// Kept under tessel.sort.duplicates as "reclaimable", "size", "copies" or "name".
enum class Order { reclaimable, size, copies, name };
Order orderFrom(const QString& raw);
QString orderName(Order order);

// A file's path and its other names: removing a copy removes all of them.
std::vector<std::string> namesOf(const DuplicateFile& file);
// What removing the files at `ticked` (their paths) would free.
std::int64_t freedBy(const DuplicateGroup& group, const std::set<std::string>& ticked);

// Groups in the order chosen; ties by the path of the first file, so the order is stable.
void sort(std::vector<DuplicateGroup>& groups, Order order);

// The group without the files named in `gone`; none when fewer than two copies remain.
std::optional<DuplicateGroup> without(const DuplicateGroup& group, const std::set<std::string>& gone);

} // namespace tessel::DuplicateChoices
