// tessel: the command-line face of the scan engine. It links the Kits only, so
// it starts fast and runs where there is no display.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "TerminalText.h"
#include "Base/AppIdentity.h"
#include "DiskScanKit/ProcessLimits.h"

namespace tessel::cli {

const char* const scanOptionsHelp =
    "  --workers N            reading threads, 1 to 64 (default: processors, 2 to 8);\n"
    "                         fewer when the system has no more to give\n"
    "  --threshold BYTES      smallest file that is listed on its own (default 1048576)\n"
    "  --cross-devices        enter other file systems mounted inside PATH (the\n"
    "                         subvolumes of PATH's own btrfs are always entered)\n"
    "  --include-trash        enter the trash folders a disk keeps at its top too:\n"
    "                         .Trash-UID, .Trash and .Trashes\n"
    "  --stall-timeout SECS   give up on a folder silent this long (default 30); one on\n"
    "                         a network share or a FUSE file system is read by a\n"
    "                         reader process that is left behind if it never answers\n";

const char* const namesInJsonHelp =
    "\n"
    "Names in --json output are UTF-8 text. A name that is not valid UTF-8 is shown\n"
    "with U+FFFD for each bad byte, and its exact bytes follow in base64 under the\n"
    "same key with \"Bytes\" added (\"path\" and \"pathBytes\"; for a list such as\n"
    "\"otherNames\", \"otherNamesBytes\" holds every name of it in order).\n";

const std::vector<Command>& commands() {
    static const std::vector<Command> list{
        {"scan", "Scan a folder and show where its space goes",
         std::string("usage: tessel scan [options] PATH\n"
         "\n"
         "Scans PATH into a tree of allocated sizes and prints the total, the numbers\n"
         "of files and folders, the time taken, and the 10 largest folders and files.\n"
         "Hard links count once; other disks mounted inside PATH are not entered.\n"
         "\n"
         "  --json                 print one JSON object instead of text\n")
             + scanOptionsHelp + namesInJsonHelp,
         runScan},
        {"largest", "List the largest files or folders under a folder",
         std::string("usage: tessel largest [options] PATH\n"
         "\n"
         "Scans PATH and lists its largest files, or with --folders its largest\n"
         "folders, one a line: the size, then the path. Files below the listing size\n"
         "(--threshold, 1048576 bytes by default) have no entry of their own and are\n"
         "never listed; their bytes count in their folder.\n"
         "\n"
         "  --limit N              how many to list (default 20)\n"
         "  --folders              list folders instead of files\n"
         "  --json                 print {\"items\": [{\"path\", \"bytes\", \"isDirectory\"}]}\n")
             + scanOptionsHelp + namesInJsonHelp,
         runLargest},
        {"search", "Find files and folders under a folder by name and size",
         std::string("usage: tessel search [options] PATH TEXT\n"
         "\n"
         "Scans PATH and lists the files and folders below it whose names hold every\n"
         "word of TEXT, in any order, with case ignored. Put words in double quotes\n"
         "to find them side by side; an empty TEXT matches every name. The last line\n"
         "gives how many matched and their sizes added up.\n"
         "\n"
         "Files below the listing size (1 MiB unless --threshold says otherwise) have\n"
         "no entry of their own, so they can't be found by name; use --threshold 0 to\n"
         "find every file, at the cost of a larger and slower scan.\n"
         "\n"
         "  --min BYTES            only items of at least this many bytes\n"
         "  --max BYTES            only items of at most this many bytes\n"
         "  --kind files|folders   only files, or only folders\n"
         "  --sort largest|smallest|name\n"
         "                         order of the list (default largest)\n"
         "  --limit N              how many to list (default 20); the totals count all\n"
         "  --json                 print {\"totalMatched\", \"totalBytes\", \"truncated\", \"matches\"}\n")
             + scanOptionsHelp + namesInJsonHelp,
         runSearch},
        {"map", "Draw a folder's map as an SVG picture",
         std::string("usage: tessel map [options] PATH --svg FILE\n"
         "\n"
         "Scans PATH and writes its map to FILE as a standalone SVG picture: cards by\n"
         "default, the way the app first shows a folder, or a treemap. Names and sizes\n"
         "are written on the shapes where they fit.\n"
         "\n"
         "  --svg FILE             where to write the picture (replaced if it exists)\n"
         "  --width W              width in points (default 1200)\n"
         "  --height H             height in points (default 800)\n"
         "  --style cards|treemap  how to draw it (default cards)\n"
         "  --theme light|dark     the colours (default light)\n")
             + scanOptionsHelp,
         runMap},
        {"trash", "Move files and folders to the Trash, past the guard",
         "usage: tessel trash [--dry-run] [--json] PATH...\n"
         "\n"
         "Judges each PATH as the app does before moving anything: what may go, and\n"
         "what stays with its reason (part of the system or of a package store such\n"
         "as Flatpak, Snap or Nix, a standard folder, kept in sync with a cloud\n"
         "service, not yours to move, already in the Trash...). A path is judged both\n"
         "as typed and where it really is, with the links in its folders followed as\n"
         "the system follows them; a link itself is moved as a link, never what it\n"
         "points to. Then moves what may go to the Trash of its own disk, from where\n"
         "it can be put back; nothing is ever deleted. A folder and something inside\n"
         "it are one move. Exit status 1 when anything stayed.\n"
         "\n"
         "Synced folders are those the clients' own settings name, read from HOME,\n"
         "XDG_CONFIG_HOME and XDG_STATE_HOME: Dropbox (~/.dropbox/info.json),\n"
         "Nextcloud and ownCloud (their .cfg files), OneDrive (onedrive/config) and\n"
         "Syncthing (syncthing/config.xml). A client whose settings are missing or\n"
         "can't be read stands for its usual folder: ~/Dropbox, ~/Nextcloud,\n"
         "~/ownCloud, ~/OneDrive; MEGA and Insync always for ~/MEGA and ~/Insync.\n"
         "\n"
         "  --dry-run              show the plan, move nothing\n"
         "  --json                 print {\"allowed\", \"refused\", \"receipts\", \"failures\"};\n"
         "                         a refusal holds \"path\", \"reason\" (a key such as\n"
         "                         \"systemPath\" or \"cloudSynced\") and \"explanation\";\n"
         "                         a receipt holds \"originalPath\" as typed, \"realPath\"\n"
         "                         where it really stood, \"trashedPath\", \"bytes\" and\n"
         "                         \"isDirectory\"\n"
             + std::string(namesInJsonHelp),
         runTrash},
        {"report", "Save a scan as a spreadsheet or a web page",
         std::string("usage: tessel report [options] PATH (--csv FILE | --html FILE | --summary)...\n"
         "\n"
         "Scans PATH and writes what the app's report exports: a spreadsheet of the\n"
         "largest folders and files with their sizes and share of the scan, a web\n"
         "page with the totals and the largest folders and files (self-contained:\n"
         "it loads nothing from anywhere), or a short summary on standard output.\n"
         "A file is written whole or not at all.\n"
         "\n"
         "  --csv FILE             the spreadsheet (replaced if it exists)\n"
         "  --html FILE            the web page (replaced if it exists)\n"
         "  --summary              print the summary\n")
             + scanOptionsHelp,
         runReport},
        {"duplicates", "Find files with identical contents",
         std::string("usage: tessel duplicates [options] PATH\n"
         "\n"
         "Scans PATH and finds files of at least 1 MB with identical contents, whatever\n"
         "they are called. Files are compared by size, then by two small samples, and\n"
         "only then read whole; a file with several names (a hard link) is one file.\n"
         "Each group lists first the copy that would stay (one in a folder you\n"
         "organised, with a name that doesn't look like a copy), then the others, and\n"
         "what removing the others would free: nothing for a hard link until its last\n"
         "name goes, nothing for a clone that shares its blocks. Nothing is removed.\n"
         "Ctrl-C stops the comparison and prints what was settled so far. A file on a\n"
         "network share or a FUSE file system whose reading makes no progress for the\n"
         "stall timeout is given up on, counted as unreadable and named, and the\n"
         "share's other files are left out with it.\n"
         "\n"
         "  --min-size BYTES       only files of at least this many bytes (default 1000000)\n"
         "  --json                 print {\"groups\": [{\"id\", \"logicalSize\", \"reclaimableBytes\",\n"
         "                         \"files\": [{\"path\", \"allocatedBytes\", \"sharing\", \"otherNames\"}]}],\n"
         "                         \"totalReclaimableBytes\", \"filesExamined\", \"unreadable\",\n"
         "                         \"stalledPaths\", \"wasCancelled\", \"duration\"}; sharing is\n"
         "                         hardLinked, clone, unshared or partial, the keeper\n"
         "                         comes first\n")
             + scanOptionsHelp + namesInJsonHelp,
         runDuplicates},
        {"snapshot", "Scan a folder and keep a snapshot of it",
         std::string("usage: tessel snapshot [options] PATH\n"
         "\n"
         "Scans PATH and keeps a small record of it, every file and folder of 10 MB\n"
         "or more, beside the app's own ($XDG_DATA_HOME/Tessel/Snapshots). The 20\n"
         "newest of each folder are kept.\n")
             + scanOptionsHelp,
         runSnapshot},
        {"snapshots", "List the snapshots kept of a folder",
         "usage: tessel snapshots [--json] PATH\n"
         "\n"
         "Lists the snapshots of PATH, newest first: when, how large it was, and the file.\n"
         "Then the files in their folder that could not be read as snapshots (not a\n"
         "regular file, larger than 64 MB, not valid JSON, a value out of range...),\n"
         "each with the reason. They are left as they are.\n"
         "\n"
         "  --json                 print {\"root\", \"snapshots\": [{\"date\", \"totalBytes\", \"path\"}],\n"
         "                         \"unreadable\": [{\"file\", \"reason\"}]}; unreadable holds\n"
         "                         the files that could not be read, newest name first\n"
             + std::string(namesInJsonHelp),
         runSnapshots},
        {"changes", "Show what grew or shrank since the last snapshot",
         std::string("usage: tessel changes [options] PATH\n"
         "\n"
         "Scans PATH, keeps its snapshot, and compares it with the newest earlier one:\n"
         "the files and folders that changed by 50 MB or more, each change told once\n"
         "(a folder is not listed again for what a listed folder inside it tells).\n"
         "An earlier snapshot that can't be read is passed over, with the reason, for\n"
         "the next one that can.\n"
         "\n"
         "  --json                 print {\"root\", \"baseline\": {\"date\", \"totalBytes\"} or null,\n"
         "                         \"changes\": [{\"path\", \"oldBytes\", \"newBytes\", \"kind\"}],\n"
         "                         \"unreadable\": [{\"file\", \"reason\"}]}; kind is grew,\n"
         "                         shrank, appeared or disappeared, dates are ISO 8601 in\n"
         "                         UTC, unreadable holds the snapshot files passed over\n"
         "                         because they could not be read\n")
             + scanOptionsHelp + namesInJsonHelp,
         runChanges},
        {"volumes", "List the disks of this machine",
         "usage: tessel volumes [--json] [--root DIR]\n"
         "\n"
         "Lists the disks of this machine, each local file system once however many\n"
         "times it is mounted (bind mounts, btrfs subvolumes): its name (its label,\n"
         "else where it is mounted), where it is mounted, its file system and device,\n"
         "and its size: what is used, what is free to you, and what the file system\n"
         "keeps for the system (ext4 keeps 5% for root). Memory file systems, images,\n"
         "network shares and FUSE remotes are left out. The startup disk comes first,\n"
         "and the disk that holds the home folder ($HOME) is marked: the app scans it\n"
         "when it opens.\n"
         "\n"
         "  --json                 print {\"volumes\": [{\"name\", \"mountPoint\", \"device\",\n"
         "                         \"fileSystem\", \"totalBytes\", \"usedBytes\", \"availableBytes\",\n"
         "                         \"reservedBytes\", \"isRoot\", \"holdsHome\", \"capacityFailure\"}]};\n"
         "                         the sizes are null where they could not be read, and\n"
         "                         capacityFailure says why\n"
         "  --root DIR             describe the machine whose \"/\" is DIR: read\n"
         "                         DIR/proc/self/mountinfo, DIR/dev/disk/by-label, and each\n"
         "                         disk's size at DIR and its mount point\n"
             + std::string(namesInJsonHelp),
         runVolumes},
        {"stats", "Show the processor, memory, network, disks, battery and sensors",
         "usage: tessel stats [--json] [--samples N] [--interval S] [--proc-root DIR] [--sys-root DIR]\n"
         "\n"
         "Reads the machine as it is now, N times (1 unless told) S seconds apart (1\n"
         "unless told): how busy the processor is, in all and core by core (irq,\n"
         "softirq and steal count as system time, iowait as idle); memory held by\n"
         "programs, by the kernel (wired), compressed (zswap and zram) and cached, and\n"
         "how hard the kernel works to find more (pressure, from /proc/pressure/memory:\n"
         "warning when a task waited a tenth of the last 10 seconds, critical when all\n"
         "did); the network, counting only interfaces with a device (not the loopback,\n"
         "bridges or tunnels), and the link of the default route; each whole disk's\n"
         "reads and writes; the system battery (not a mouse's); temperatures by place\n"
         "and fans from /sys/class/hwmon and /sys/class/thermal. Rates need two\n"
         "readings, so the first sample has none: use --samples 2 or more. A reading\n"
         "this machine does not give is shown as \"—\" with the reason.\n"
         "\n"
         "  --samples N            how many samples to take (default 1)\n"
         "  --interval S           seconds between samples (default 1)\n"
         "  --json                 print one JSON object per sample, one a line:\n"
         "                         {\"cpu\": {\"user\", \"system\", \"nice\", \"idle\"}, \"cores\",\n"
         "                         \"memory\": {\"totalBytes\", \"usedBytes\", \"appBytes\",\n"
         "                         \"wiredBytes\", \"compressedBytes\", \"cachedBytes\", \"freeBytes\",\n"
         "                         \"pressure\"}, \"network\": {\"receivedBytesPerSecond\",\n"
         "                         \"sentBytesPerSecond\", \"receivedBytes\", \"sentBytes\", \"link\"},\n"
         "                         \"disks\": [{\"name\", \"readBytesPerSecond\",\n"
         "                         \"writeBytesPerSecond\"}], \"battery\": {\"percentage\", \"charge\",\n"
         "                         \"isCharging\", \"isCharged\", \"source\", \"minutesRemaining\",\n"
         "                         \"cycleCount\", \"capacity\"}, \"temperatures\": [{\"name\",\n"
         "                         \"celsius\"}], \"fans\": [{\"name\", \"rpm\"}], \"unavailable\"};\n"
         "                         shares are 0 to 1; what was not read is null, and\n"
         "                         \"unavailable\" says why by the same name\n"
         "  --proc-root DIR        read DIR in place of /proc\n"
         "  --sys-root DIR         read DIR in place of /sys\n"
             + std::string(namesInJsonHelp),
         runStats},
        {"activity", "Show what your running programs use, app by app",
         "usage: tessel activity [--json] [--interval S] [--proc-root DIR]\n"
         "\n"
         "Walks your processes in /proc twice, S seconds apart (1 unless told), and\n"
         "shows them gathered into apps, the busiest first: by processor, then by\n"
         "memory. A program a desktop or Flatpak started in an app unit of systemd\n"
         "(app-….scope, app-….service) is one app with every process in that unit;\n"
         "any other process counts with the ancestor that its parents lead to, up to\n"
         "the child of your topmost process (your systemd --user, or the first process\n"
         "of a login), so a compiler a shell runs counts in the shell's terminal. The\n"
         "processor share is time used over the interval, 100% being one core; memory\n"
         "is the proportional set size (Pss of smaps_rollup, each shared page split\n"
         "between the processes that map it), or the resident size where the kernel\n"
         "gives no Pss; disk is what reached the disks (read_bytes and write_bytes of\n"
         "/proc/PID/io). A process started during the interval, or a pid given again\n"
         "to a new one, adds its memory and no processor time. Processes of other\n"
         "users, and files that can't be read, are left out; a figure the kernel did\n"
         "not give is shown as \"—\".\n"
         "\n"
         "Windows are what the X11 window manager of $DISPLAY says (its EWMH hints): an\n"
         "app's windows that are open and not minimised, \"In front\" when one of them\n"
         "is the active window, \"Hidden\" when all are minimised. On Wayland, with no\n"
         "display, or with no window manager that says, they are \"—\" and a line\n"
         "under the table says why.\n"
         "\n"
         "  --interval S           seconds between the two walks (default 1)\n"
         "  --json                 print {\"intervalSeconds\", \"windowsUnknown\", \"apps\":\n"
         "                         [{\"name\", \"appID\", \"pid\", \"path\", \"cpu\",\n"
         "                         \"memoryBytes\", \"diskBytesPerSecond\", \"visibleWindows\",\n"
         "                         \"isActive\", \"isHidden\", \"processes\": [{\"pid\",\n"
         "                         \"parent\", \"name\", \"path\", \"memoryBytes\"}]}]}; cpu is\n"
         "                         1.0 for one core, appID the desktop ID of the app unit,\n"
         "                         what was not read is null, and windowsUnknown is the\n"
         "                         sentence that says why the windows are not known\n"
         "  --proc-root DIR        read DIR in place of /proc\n"
             + std::string(namesInJsonHelp),
         runActivity},
        {"apps", "List the apps installed on this machine",
         "usage: tessel apps [--json] [--root DIR]\n"
         "\n"
         "Lists the apps of this machine as its desktop entries show them, sorted by\n"
         "name: the entries in $XDG_DATA_HOME/applications (~/.local/share/applications)\n"
         "first, then in each folder of $XDG_DATA_DIRS (/usr/local/share:/usr/share).\n"
         "The first entry of a desktop ID is the one that counts, so a user's own copy\n"
         "replaces the system's, and one that says Hidden=true removes the app. Entries\n"
         "whose TryExec program is missing are left out; apps kept out of menus\n"
         "(NoDisplay=true) are listed and marked. Names follow the language of\n"
         "LC_ALL, LC_MESSAGES or LANG. Each app's path is the program its entry runs,\n"
         "else the entry itself (always for Flatpak and snap apps, which run through\n"
         "a launcher). What the package keeping an app says is added: a dpkg package\n"
         "that lists its program, a Flatpak, a snap, or the AppImage it runs, read\n"
         "from inside without running it (AppImages in ~/Applications, ~/.local/bin\n"
         "and ~/Downloads that no entry runs are listed too). Its size is what is its\n"
         "alone: the package's files no other package lists, the Flatpak's\n"
         "deployment, the snap's image, the AppImage. An app runs when a process runs\n"
         "its program, a Flatpak sandbox of it is alive, or a unit is named for it.\n"
         "\n"
         "  --json                 print {\"apps\": [{\"name\", \"identifier\", \"version\",\n"
         "                         \"path\", \"source\", \"isSystem\", \"bytes\", \"isRunning\",\n"
         "                         \"isShown\", \"entry\"}], \"unreadable\": [{\"file\",\n"
         "                         \"reason\"}]}; identifier is the desktop ID without\n"
         "                         \".desktop\", source is dpkg, flatpak, snap, appimage\n"
         "                         or other, isSystem is true for a package of the base\n"
         "                         system, version and bytes are null where not known, entry is\n"
         "                         the desktop entry, and unreadable holds the entries\n"
         "                         passed over because they could not be read\n"
         "  --root DIR             describe the machine whose \"/\" is DIR: read the system's\n"
         "                         folders and programs under DIR; the home's folders\n"
         "                         ($HOME, $XDG_DATA_HOME) are read as they are\n"
             + std::string(namesInJsonHelp),
         runApps},
        {"owner", "Tell which package installed a path",
         "usage: tessel owner [--json] [--root DIR] PATH...\n"
         "\n"
         "Tells for each PATH which packages of the package database (dpkg) list it.\n"
         "A relative PATH is taken from the current folder; links in it are not\n"
         "followed. Where /bin, /sbin and the /lib folders are links into /usr, a\n"
         "path under either finds what the packages list under the other; a file a\n"
         "diversion moved aside belongs to its package where it was moved to. The\n"
         "index of every listed path is kept in $XDG_CACHE_HOME/Tessel and rebuilt\n"
         "when the database changes. Exit status 1 when some PATH has neither a package\n"
         "nor an app.\n"
         "\n"
         "  --json                 print {\"owners\": [{\"path\", \"package\", \"packages\", \"app\"}]};\n"
         "                         package is the first owner or null, packages all of\n"
         "                         them, app the name of the installed app the path\n"
         "                         belongs to (by its package, or the folder that is\n"
         "                         wholly the app's: a Flatpak, a snap, an AppImage, an\n"
         "                         app unpacked in /opt or ~/.local/share), or null\n"
         "  --root DIR             read the package database of the machine whose \"/\"\n"
         "                         is DIR: DIR/var/lib/dpkg\n"
             + std::string(namesInJsonHelp),
         runOwner},
        {"receipts", "List the installed packages and when each came",
         "usage: tessel receipts [--json] [--root DIR]\n"
         "\n"
         "Lists the packages of the package database (dpkg) that are installed, or\n"
         "removed with their configuration files left (state rc): the state letters,\n"
         "the name, the version, when its file list was written (its installation or\n"
         "last upgrade), and whether it is part of the base system (Priority required\n"
         "or important, or Essential).\n"
         "\n"
         "  --json                 print {\"receipts\": [{\"package\", \"version\", \"installed\",\n"
         "                         \"isSystem\", \"state\"}]}; installed is ISO 8601 or null\n"
         "  --root DIR             read DIR/var/lib/dpkg instead of /var/lib/dpkg\n"
             + std::string(namesInJsonHelp),
         runReceipts},
        {"receipt", "Show what one package put on the disk and what is left",
         "usage: tessel receipt [--json] [--root DIR] PACKAGE\n"
         "\n"
         "Checks each path PACKAGE lists: still on disk, gone, or in a folder this\n"
         "user may not look into, so not checked. Folders another package lists too\n"
         "are shown apart, as shared: they are not this package's alone. For a\n"
         "package removed with its configuration left (rc), its configuration files\n"
         "are checked. Nothing is changed.\n"
         "\n"
         "  --json                 print {\"package\", \"state\", \"listed\", \"existing\", \"missing\",\n"
         "                         \"unchecked\", \"shared\"}; each a list of paths\n"
         "  --root DIR             read DIR/var/lib/dpkg, and look for the paths under DIR\n"
             + std::string(namesInJsonHelp),
         runReceipt},
        {"launchers", "List the desktop's launchers of apps that are gone",
         "usage: tessel launchers [--json] [--remove] [--root DIR]\n"
         "\n"
         "Lists the launchers pinned to the desktop (GNOME's favourites, KDE Plasma's\n"
         "task manager) whose app is no longer installed. Where neither desktop is\n"
         "present, there is nothing to list.\n"
         "\n"
         "  --json                 print {\"orphans\": [{\"list\", \"entry\"}], \"removed\"}\n"
         "  --remove               take those launchers off the desktop; no file is touched\n"
         "  --root DIR             look for installed apps' desktop entries under DIR\n"
             + std::string(namesInJsonHelp),
         runLaunchers},
        {"startup", "List what starts by itself, and who owns it",
         "usage: tessel startup [--json] [--root DIR] [--disable LABEL | --enable LABEL | --trash LABEL]\n"
         "\n"
         "Lists what starts by itself, read from files only: systemd's units, the\n"
         "system's and yours (a unit is on when a link to it sits in a .wants or\n"
         "\".requires\" folder, off when it could be switched on, masked when its file\n"
         "is a link to /dev/null), with the timers, sockets and paths that start a\n"
         "service; the login items of ~/.config/autostart and /etc/xdg/autostart, a\n"
         "file of yours replacing the system's of the same name; and cron's jobs\n"
         "(/etc/crontab, /etc/cron.d, the cron.hourly to cron.monthly folders, and your\n"
         "own crontab where you may read it). For each: what it runs (the script an\n"
         "interpreter runs), whether that is there, whether it is on, who may change\n"
         "it, and the installed app it belongs to, how sure that is and why.\n"
         "\n"
         "  --json                 print {\"items\": [{\"label\", \"kind\", \"source\", \"path\",\n"
         "                         \"program\", \"arguments\", \"programExists\", \"enabled\",\n"
         "                         \"scope\", \"owner\", \"ownerConfidence\", \"ownerReason\",\n"
         "                         \"isPlatform\", \"package\", \"detail\", \"command\",\n"
         "                         \"isReadable\", \"bytes\"}], \"unreadable\": [{\"file\", \"reason\"}]};\n"
         "                         kind is loginItem, backgroundService, scheduledJob or\n"
         "                         systemService, source systemd, autostart or cron, scope\n"
         "                         user or system (an administrator's to change), arguments\n"
         "                         the words after the first of its command, ownerConfidence\n"
         "                         exact, likely or null, command how to change it where\n"
         "                         this tool doesn't\n"
         "  --disable LABEL        switch off a login item (a copy in ~/.config/autostart\n"
         "                         that says Hidden=true; the system's file is not touched)\n"
         "                         or a unit of yours (its links in ~/.config/systemd/user\n"
         "                         are taken away); status 1 when nothing changed\n"
         "  --enable LABEL         switch it on again: undo what --disable did, or make\n"
         "                         the links a unit's [Install] section asks for\n"
         "  --trash LABEL          move a unit of yours in ~/.config/systemd/user to the\n"
         "                         Trash with its drop-ins and its links, past the guard\n"
         "  --dry-run              with --trash: show the plan, move nothing\n"
         "  --root DIR             describe the machine whose \"/\" is DIR: read the system's\n"
         "                         folders under DIR; your own ($HOME, $XDG_CONFIG_HOME,\n"
         "                         $XDG_DATA_HOME) as they are\n"
         "\n"
         "No systemd manager is asked: after --disable or --enable a running one sees\n"
         "the change at your next login, or after systemctl --user daemon-reload.\n"
             + std::string(namesInJsonHelp),
         runStartup},
        {"junk", "Find caches, logs, build data and old downloads that can go",
         "usage: tessel junk [--json] [--clean] [--root DIR] [--stall-timeout SECONDS]\n"
         "\n"
         "Finds what can go: apps' caches ($XDG_CACHE_HOME, Flatpak's and snaps'\n"
         "caches, browsers' caches), logs and crash reports, projects' build outputs,\n"
         "package tools' downloads, installers in Downloads and on the Desktop, old\n"
         "downloads, virtual machines and games. Each item says why it can go and\n"
         "whether it is ticked: only what a program makes again, never your own\n"
         "things, and nothing a running program uses.\n"
         "\n"
         "  --json                 print {\"items\": [{\"path\", \"name\", \"category\", \"bytes\",\n"
         "                         \"modified\", \"identifier\", \"app\", \"isSystem\",\n"
         "                         \"requiresAdministrator\", \"note\", \"recommended\",\n"
         "                         \"startsTicked\", \"inUse\", \"tools\"}], \"totalBytes\", \"tickedBytes\"}\n"
         "  --clean                move the ticked items to the Trash, past the deletion\n"
         "                         guard, and say where each went; status 1 when\n"
         "                         something stayed\n"
         "  --root DIR             read the machine's shared places (/var/crash) under DIR\n"
         "  --stall-timeout S      give up on a folder of the home silent for S seconds\n"
         "                         (default 30)\n"
             + std::string(namesInJsonHelp),
         runJunk},
        {"uninstall", "Remove an app and what it left",
         "usage: tessel uninstall [--json] [--dry-run] [--root DIR] APP\n"
         "\n"
         "Finds what APP (its identifier, package or name, as tessel apps shows them)\n"
         "left in the settings, data, cache and state folders, Flatpak's app folders,\n"
         "autostart entries, user services, desktop entries, icons, and the system's\n"
         "/etc, /var/lib, /var/log and /opt, each graded by how sure the match is.\n"
         "An app you put here yourself (an AppImage, an app unpacked by hand) goes to\n"
         "the Trash with its residue; an app dpkg, Flatpak or snapd installed is theirs\n"
         "to remove, and the command that does it is shown. What needs an\n"
         "administrator, and a sandboxed app's folder, which may hold your documents,\n"
         "are listed and never moved.\n"
         "\n"
         "  --json                 print {\"app\", \"bundle\": {\"path\", \"bytes\", \"handoff\"},\n"
         "                         \"residue\": [{\"path\", \"bytes\", \"location\", \"confidence\",\n"
         "                         \"reason\", \"requiresAdministrator\", \"ticked\"}]}\n"
         "  --dry-run              move nothing\n"
         "  --root DIR             read the system's folders under DIR\n"
             + std::string(namesInJsonHelp),
         runUninstall},
        {"leftovers", "Find what removed apps left behind",
         "usage: tessel leftovers [--json] [--clean] [--root DIR]\n"
         "\n"
         "Looks through the settings, data, cache and state folders, Flatpak's app\n"
         "folders, autostart entries, user services, desktop entries and the system's\n"
         "/etc, /var/lib, /var/log and /opt for what no installed app, package,\n"
         "Flatpak, snap or program explains: a reverse-DNS name nothing answers to,\n"
         "or the name of a package the package manager's log says was removed, or of\n"
         "an app whose desktop entry runs a program that is gone. Each is graded;\n"
         "only disposable things (caches, logs, settings files) unchanged for 30 days\n"
         "are ticked, never what may hold documents or starts by itself.\n"
         "\n"
         "  --json                 print {\"items\": [{\"path\", \"bytes\", \"category\",\n"
         "                         \"location\", \"confidence\", \"reason\", \"apparentOwner\",\n"
         "                         \"ownerDomain\", \"modified\", \"requiresAdministrator\",\n"
         "                         \"ticked\"}], \"totalBytes\", \"tickedBytes\"}\n"
         "  --clean                move the ticked items to the Trash, past the deletion\n"
         "                         guard, and say where each went\n"
         "  --root DIR             read the system's folders and package database under DIR\n"
             + std::string(namesInJsonHelp),
         runLeftovers},
        {"unused", "List the apps not opened for a while",
         "usage: tessel unused [--days N] [--json] [--root DIR]\n"
         "\n"
         "Lists the apps not opened for N days (90 unless told), largest first, with\n"
         "when each was last opened and what says so. Linux keeps no such date, so it\n"
         "is told from what the machine records: an app running now; its program's\n"
         "access time, believed only on a disk that keeps access times (not noatime,\n"
         "not read-only; relatime tells the day) and only when it is later than the\n"
         "program's last change; the applications named in the list of recently\n"
         "used files ($XDG_DATA_HOME/recently-used.xbel), GNOME Shell's usage\n"
         "statistics and KDE's activity database. The newest wins. An app added\n"
         "within the N days is not unused, and an app whose last opening nothing can\n"
         "tell never is: those are counted apart, with why. The system's own apps and\n"
         "apps kept out of menus are left out.\n"
         "\n"
         "  --days N               how long unopened counts as unused (default 90)\n"
         "  --json                 print {\"days\", \"apps\": [{... as tessel apps, \"lastOpened\",\n"
         "                         \"notOpenedSince\", \"evidence\", \"reason\", \"added\"}],\n"
         "                         \"unknown\": [{\"app\", \"why\"}], \"unreadable\": [{\"file\",\n"
         "                         \"reason\"}]}; dates are ISO 8601 or null; evidence is\n"
         "                         running, accessTime, recentFiles, gnomeShell or\n"
         "                         kdeActivities; notOpenedSince is set when the only\n"
         "                         evidence is a program not read since it was written\n"
         "  --root DIR             read the system's folders and mount table under DIR\n"
             + std::string(namesInJsonHelp),
         runUnused},
        {"ai", "List the AI models downloaded to this machine",
         "usage: tessel ai [--json] [--root DIR]\n"
         "\n"
         "Lists the AI models downloaded to this machine, one item each, by tool:\n"
         "Ollama (~/.ollama/models or $OLLAMA_MODELS, and the service's store in\n"
         "/usr/share/ollama/.ollama/models, which only an administrator changes),\n"
         "Hugging Face ($HF_HUB_CACHE, else hub in $HF_HOME, else in\n"
         "$XDG_CACHE_HOME/huggingface), LM Studio, GPT4All, Jan, ComfyUI, the Stable\n"
         "Diffusion web UI, whisper and whisper.cpp, PyTorch ($TORCH_HOME), Keras,\n"
         "llama.cpp ($LLAMA_CACHE), and Docker's models where docker answers; other\n"
         "folders of the cache folder that hold model files are listed too. A file\n"
         "several models use (Ollama's tags of one model share its weights) is counted\n"
         "once, apart from each model's own bytes, and goes only with the last model\n"
         "that uses it. Downloads no model uses are gathered as one item. Nothing is\n"
         "moved.\n"
         "\n"
         "  --json                 print {\"items\": [{\"id\", \"tool\", \"name\", \"kind\", \"bytes\",\n"
         "                         \"sharedBytes\", \"sharedWith\", \"requiresAdministrator\",\n"
         "                         \"removedBy\"}], \"totalBytes\"}; kind is model, dataset,\n"
         "                         cache or unfinished; bytes are the model's own,\n"
         "                         sharedBytes what it shares with the models named in\n"
         "                         sharedWith; removedBy is null, {\"command\"} or {\"app\"};\n"
         "                         totalBytes counts each shared file once\n"
         "  --root DIR             read the Ollama service's store under DIR; Docker is\n"
         "                         not asked\n"
             + std::string(namesInJsonHelp),
         runAI},
        {"systemdata", "Show what the system keeps outside the home, and who removes it",
         "usage: tessel systemdata [--json] [--root DIR]\n"
         "\n"
         "Lists what takes space outside the home that a scan of it does not explain,\n"
         "each place with its size on disk (hard links counted once): the package\n"
         "managers' downloads (/var/cache/apt/archives, /var/cache/dnf,\n"
         "/var/cache/pacman/pkg), the systemd journal (/var/log/journal, or the size\n"
         "journalctl --disk-usage gives where it can't be read) and old rotated logs,\n"
         "kernels other than the running one and the newest (/usr/lib/modules, /boot),\n"
         "core dumps (/var/lib/systemd/coredump), Flatpak runtimes no installed app\n"
         "uses, snap revisions not in use (/var/lib/snapd/snaps), Docker's and Podman's\n"
         "images, containers, volumes and build cache as docker system df and podman\n"
         "system df count them, swap files (/proc/swaps), /var/tmp, and the Trash of\n"
         "the home ($XDG_DATA_HOME/Trash) and of every other disk. These belong to the\n"
         "programs that keep the system whole, so nothing is moved: each place says\n"
         "the command that removes it, most of them an administrator's (sudo). Folders\n"
         "that could not be read are listed apart and not counted.\n"
         "\n"
         "  --json                 print {\"rows\": [{\"id\", \"title\", \"path\", \"bytes\", \"canMove\",\n"
         "                         \"howToRemove\"}], \"unreadable\": [paths]}\n"
         "  --root DIR             describe the machine whose \"/\" is DIR: read its folders\n"
         "                         and DIR/proc under DIR; no tool is run, and no kernel\n"
         "                         counts as running\n"
             + std::string(namesInJsonHelp),
         runSystemData},
    };
    return list;
}

void printError(const std::string& sentence) { std::fprintf(stderr, "tessel: %s\n", sentence.c_str()); }

namespace {

void printUsage(std::FILE* to) {
    std::fputs("usage: tessel COMMAND [options] [PATH]\n       tessel --version\n\nCommands:\n", to);
    for (const Command& command : commands()) std::fprintf(to, "  %-10s %s\n", command.name, command.summary);
    std::fputs("\nRun \"tessel COMMAND --help\" for a command's options.\n", to);
}

} // namespace
} // namespace tessel::cli

int main(int argc, char** argv) {
    using namespace tessel::cli;
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words.front() == "--help" || words.front() == "-h" || words.front() == "help") {
        printUsage(words.empty() ? stderr : stdout);
        return words.empty() ? exitUsage : exitSuccess;
    }
    if (words.front() == "--version") {
        std::printf("tessel %s\n", tessel::AppIdentity::version);
        return exitSuccess;
    }
    for (const Command& command : commands()) {
        if (words.front() != command.name) continue;
        words.erase(words.begin());
        for (const std::string& word : words) {
            if (word == "--") break;
            if (word == "--help") {
                std::fputs(command.help.c_str(), stdout);
                return exitSuccess;
            }
        }
        tessel::raiseOpenFileLimit();
        try {
            return command.run(words);
        } catch (const RunFailure& error) {
            printError(error.what());
            return exitFailure;
        } catch (const UsageError& error) {
            // The sentence may quote an option as typed, control characters and all.
            printError(printable(error.what()) + " (see \"tessel " + command.name + " --help\")");
            return exitUsage;
        }
    }
    printError("unknown command \"" + printable(words.front()) + "\" (see \"tessel --help\")");
    return exitUsage;
}
