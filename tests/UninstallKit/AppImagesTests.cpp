// AppImages built by the tests (an ELF header, section headers, then a
// squashfs image made with mksquashfs), found and described without running.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "Fixture.h"
#include "UninstallKit/AppImages.h"
#include "UninstallKit/CommandRunner.h"

using namespace tessel;

namespace {

void put(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) bytes[at + i] = static_cast<char>((value >> (8 * i)) & 0xff);
}

// An ELF header, 64-bit or 32-bit, marked as an AppImage of `type`, with `sections` headers after it.
std::string appImageHeader(std::uint64_t sections, bool wide = true, char type = 2) {
    std::string header(wide ? 64 : 52, '\0');
    header.replace(0, 4, "\x7f" "ELF");
    header[4] = wide ? 2 : 1;
    header[5] = 1;
    header.replace(8, 3, std::string("AI") + type);
    const std::size_t entry = wide ? 64 : 40;
    put(header, wide ? 0x28 : 0x20, header.size(), wide ? 8 : 4); // the section headers follow the ELF header
    put(header, wide ? 0x3A : 0x2E, entry, 2);
    put(header, wide ? 0x3C : 0x30, sections, 2);
    return header + std::string(entry * sections, '\0');
}

} // namespace

TEST(AppImageHeader, TheImageStartsAfterTheSectionHeadersOfATypeTwoAppImage) {
    EXPECT_EQ(AppImages::imageOffset(appImageHeader(3).substr(0, 64)), 64u + 3 * 64);
    EXPECT_EQ(AppImages::imageOffset(appImageHeader(2, false).substr(0, 64)), 52u + 2 * 40);
    EXPECT_EQ(AppImages::imageOffset(appImageHeader(1, true, 1).substr(0, 64)), std::nullopt) << "type 1 is an ISO image, not read here";
    EXPECT_EQ(AppImages::imageOffset(std::string(64, '\0')), std::nullopt);
    EXPECT_EQ(AppImages::imageOffset("\x7f" "ELF"), std::nullopt);
}

TEST(AppImages, FoundInTheUsualFoldersOnceAndDescribedFromInsideTheImage) {
    const std::optional<std::string> unsquashfs = AppImages::systemUnsquashfs();
    const char* mksquashfs = access("/usr/bin/mksquashfs", X_OK) == 0 ? "/usr/bin/mksquashfs" : "/usr/sbin/mksquashfs";
    if (!unsquashfs || access(mksquashfs, X_OK) != 0) GTEST_SKIP() << "squashfs-tools is not installed (scripts/install-deps installs it)";
    test::TempFolder home;
    const std::string content = home / "content";
    test::writeText(content + "/usr/share/applications/demo.desktop", "[Desktop Entry]\nType=Application\nName=Demo\nExec=demo %U\n");
    test::makeSymlink("usr/share/applications/demo.desktop", content + "/demo.desktop");
    test::writeText(content + "/usr/share/metainfo/demo.appdata.xml",
                    "<component><releases><release version=\"1.4.2\"/><release version=\"1.4.1\"/></releases></component>");
    test::writeText(content + "/AppRun", "#!/bin/sh\ntouch \"$HOME/it-ran\"\n");
    chmod((content + "/AppRun").c_str(), 0755);
    ASSERT_TRUE(CommandRunner::output(mksquashfs, {content, home / "image", "-quiet", "-noappend"}));

    const std::vector<std::string> folders = AppImages::usualFolders(home.path());
    const std::string app = folders[0] + "/Demo-1.4.2-x86_64.AppImage";
    test::writeText(app, appImageHeader(2) + test::readText(home / "image"));
    test::writeText(folders[0] + "/Broken.AppImage", appImageHeader(1) + "not a squashfs image");
    test::writeText(folders[2] + "/true", test::readText("/bin/true"));
    std::filesystem::create_directories(folders[1]);
    test::makeSymlink(app, folders[1] + "/demo");
    ASSERT_EQ(mkfifo((folders[2] + "/waiting.AppImage").c_str(), 0600), 0);

    const std::vector<AppImage> found = AppImages::find(folders, unsquashfs);
    ASSERT_EQ(found.size(), 2u) << "the link in ~/.local/bin is the same file; a plain program and a pipe are none";
    EXPECT_EQ(found[0].desktopEntry, std::nullopt) << "Broken";
    EXPECT_EQ(found[1].path, app);
    EXPECT_EQ(found[1].desktopEntry, "[Desktop Entry]\nType=Application\nName=Demo\nExec=demo %U\n");
    EXPECT_EQ(found[1].desktopId, "demo.desktop");
    EXPECT_EQ(found[1].version, "1.4.2");
    EXPECT_FALSE(std::filesystem::exists(home / "it-ran")) << "read, never run";
}
