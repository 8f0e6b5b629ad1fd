// tessel volumes: the disks of this machine, each file system once, with
// their names and figures; the same list the app offers to scan.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/DiskWords.h"
#include "DiskScanKit/Paths.h"
#include "SystemStatsKit/DiskVolumes.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> volumesOptions{{"json", false}, {"root", true}};

nlohmann::ordered_json volumeItem(const DiskVolume& volume) {
    nlohmann::ordered_json item;
    putName(item, "name", volume.name);
    putName(item, "mountPoint", volume.mountPoint);
    putName(item, "device", volume.device);
    putName(item, "fileSystem", volume.fileSystem);
    const std::optional<VolumeCapacity>& capacity = volume.capacity;
    item["totalBytes"] = capacity ? nlohmann::ordered_json(capacity->total) : nullptr;
    item["usedBytes"] = capacity ? nlohmann::ordered_json(capacity->used()) : nullptr;
    item["availableBytes"] = capacity ? nlohmann::ordered_json(capacity->available) : nullptr;
    item["reservedBytes"] = capacity ? nlohmann::ordered_json(capacity->reserved) : nullptr;
    item["isRoot"] = volume.isRoot;
    item["holdsHome"] = volume.holdsHome;
    if (capacity) item["capacityFailure"] = nullptr;
    else putName(item, "capacityFailure", volume.capacityFailure);
    return item;
}

void printVolume(const DiskVolume& volume) {
    std::string heading = printable(volume.name);
    if (volume.name != volume.mountPoint) heading += " (" + printable(volume.mountPoint) + ")";
    std::printf("%s: %s on %s%s\n", heading.c_str(), printable(volume.fileSystem).c_str(),
                printable(volume.device).c_str(), volume.holdsHome ? ", holds the home folder" : "");
    if (!volume.capacity) {
        std::printf("  size unknown: %s\n", printable(volume.capacityFailure).c_str());
        return;
    }
    const VolumeCapacity& capacity = *volume.capacity;
    std::printf("  %s\n", DiskWords::usage(capacity.used(), capacity.total, capacity.available, capacity.reserved).c_str());
}

} // namespace

int runVolumes(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, volumesOptions);
    if (!arguments.positionals.empty())
        throw UsageError("volumes takes no path, not \"" + arguments.positionals.front() + "\"");
    const DiskVolumeListing listing = DiskVolumes::list(systemRoot(arguments), Paths::homeFolder());
    if (!listing.failure.empty()) {
        printError("the mount table could not be read: " + printable(listing.failure));
        return exitFailure;
    }
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const DiskVolume& volume : listing.volumes) list.push_back(volumeItem(volume));
        printJson({{"volumes", std::move(list)}});
        return exitSuccess;
    }
    if (listing.volumes.empty()) {
        std::printf("No local disk is mounted: the mount table lists none.\n");
        return exitSuccess;
    }
    for (const DiskVolume& volume : listing.volumes) printVolume(volume);
    return exitSuccess;
}

} // namespace tessel::cli
