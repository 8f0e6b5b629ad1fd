// AppImages built by the tests (an ELF header, section headers, then a
// squashfs image made with mksquashfs), found and described without running.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "UninstallKit/AppImages.h"
#include "UninstallKit/CommandRunner.h"

using namespace tessel;

namespace {

void write(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void put(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) bytes[at + i] = static_cast<char>((value >> (8 * i)) & 0xff);
}

// A 64-bit ELF header marked as an AppImage of type 2, with `sections` headers of 64 bytes after it.
std::string appImageHeader(std::uint64_t sections) {
    std::string header(64, '\0');
    header.replace(0, 4, "\x7f" "ELF");
    header[4] = 2;
    header[5] = 1;
    header[6] = 1;
    header.replace(8, 3, std::string("AI\x02", 3));
    put(header, 0x28, 64, 8);
    put(header, 0x3A, 64, 2);
    put(header, 0x3C, sections, 2);
    return header + std::string(64 * sections, '\0');
}

std::optional<std::string> mksquashfs() {
    for (const char* candidate : {"/usr/bin/mksquashfs", "/usr/sbin/mksquashfs"})
        if (access(candidate, X_OK) == 0) return std::string(candidate);
    return std::nullopt;
}

} // namespace

TEST(AppImageHeader, TheImageStartsAfterTheSectionHeadersOfATypeTwoAppImage) {
    EXPECT_EQ(AppImages::imageOffset(appImageHeader(3).substr(0, 64)), 64u + 3 * 64);
    std::string narrow(64, '\0');
    narrow.replace(0, 4, "\x7f" "ELF");
    narrow[4] = 1;
    narrow[5] = 1;
    narrow.replace(8, 3, std::string("AI\x02", 3));
    put(narrow, 0x20, 52, 4);
    put(narrow, 0x2E, 40, 2);
    put(narrow, 0x30, 2, 2);
    EXPECT_EQ(AppImages::imageOffset(narrow), 52u + 2 * 40);
    std::string typeOne = appImageHeader(1).substr(0, 64);
    typeOne[10] = 1;
    EXPECT_EQ(AppImages::imageOffset(typeOne), std::nullopt) << "type 1 is an ISO image, not read here";
    EXPECT_EQ(AppImages::imageOffset(std::string(64, '\0')), std::nullopt);
    EXPECT_EQ(AppImages::imageOffset("\x7f" "ELF"), std::nullopt);
}

TEST(AppImages, FoundInTheUsualFoldersOnceAndDescribedFromInsideTheImage) {
    const std::optional<std::string> make = mksquashfs();
    const std::optional<std::string> unsquashfs = AppImages::systemUnsquashfs();
    if (!make || !unsquashfs) GTEST_SKIP() << "squashfs-tools is not installed (scripts/install-deps installs it)";
    test::TempFolder home;
    const std::string content = home / "content";
    write(content + "/usr/share/applications/demo.desktop", "[Desktop Entry]\nType=Application\nName=Demo\nExec=demo %U\n");
    std::filesystem::create_symlink("usr/share/applications/demo.desktop", content + "/demo.desktop");
    write(content + "/usr/share/metainfo/demo.appdata.xml",
          "<component><releases><release version=\"1.4.2\"/><release version=\"1.4.1\"/></releases></component>");
    write(content + "/AppRun", "#!/bin/sh\ntouch \"$HOME/it-ran\"\n");
    chmod((content + "/AppRun").c_str(), 0755);
    ASSERT_TRUE(CommandRunner::output(*make, {content, home / "image", "-quiet", "-noappend"}));

    const std::vector<std::string> folders = AppImages::usualFolders(home.path());
    const std::string app = folders[0] + "/Demo-1.4.2-x86_64.AppImage";
    write(app, appImageHeader(2) + read(home / "image"));
    write(folders[0] + "/Broken.AppImage", appImageHeader(1) + "not a squashfs image");
    write(folders[2] + "/true", read("/bin/true"));
    std::filesystem::create_directories(folders[1]);
    std::filesystem::create_symlink(app, folders[1] + "/demo");
    mkfifo((folders[2] + "/waiting.AppImage").c_str(), 0600);

    const std::vector<AppImage> found = AppImages::find(folders, unsquashfs);
    ASSERT_EQ(found.size(), 2u) << "the link in ~/.local/bin is the same file; a plain program and a pipe are none";
    EXPECT_EQ(found[0].path, folders[0] + "/Broken.AppImage");
    EXPECT_EQ(found[0].desktopEntry, std::nullopt);
    EXPECT_EQ(found[1].path, app);
    EXPECT_EQ(found[1].desktopEntry, "[Desktop Entry]\nType=Application\nName=Demo\nExec=demo %U\n");
    EXPECT_EQ(found[1].desktopId, "demo.desktop");
    EXPECT_EQ(found[1].version, "1.4.2");
    EXPECT_GT(found[1].bytes, 0);
    EXPECT_FALSE(std::filesystem::exists(home / "it-ran")) << "read, never run";
}
