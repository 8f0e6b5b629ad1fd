#include "FixtureFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QDateTime>
#include <QDir>
#include <QFile>

namespace tessel {

namespace {
// Contents follow from the path unless `twin` names the file whose contents to repeat,
// so that only the copies made on purpose are duplicates.
void write(const QString& path, qint64 bytes, const QString& twin = {}) {
    QDir().mkpath(path.left(path.lastIndexOf('/')));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return;
    QByteArray block(64 * 1024, 'x');
    const QByteArray seed = (twin.isEmpty() ? path : twin).toUtf8();
    for (qsizetype at = 0; at + seed.size() <= block.size(); at += 4096) block.replace(at, seed.size(), seed);
    for (qint64 left = bytes; left > 0; left -= block.size()) file.write(block.constData(), std::min<qint64>(left, block.size()));
}

// The file and the folders up to `top`, last changed `days` ago: left alone since.
void age(const QString& top, const QString& file, int days) {
    const timespec times[2] = {{0, UTIME_OMIT}, {QDateTime::currentDateTime().addDays(-days).toSecsSinceEpoch(), 0}};
    for (QString path = file; path.startsWith(top); path = path.left(path.lastIndexOf('/')))
        utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
}

void writeText(const QString& path, const QByteArray& text) {
    QDir().mkpath(path.left(path.lastIndexOf('/')));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(text);
}

// Apps for the uninstaller: an AppImage the user keeps in ~/Applications with its
// entry, icon and what it left around, and an app from Flathub installed for the user.
void addApps(const QString& root) {
    const QString image = root + "/Applications/Sketchpad.AppImage";
    write(image, 4'200'000);
    QFile::setPermissions(image, QFile::permissions(image) | QFileDevice::ExeOwner);
    writeText(root + "/.local/share/applications/sketchpad.desktop",
              "[Desktop Entry]\nType=Application\nName=Sketchpad\nIcon=sketchpad\nExec=" + image.toUtf8() + " %F\n");
    writeText(root + "/.local/share/icons/hicolor/scalable/apps/sketchpad.svg",
              "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 64 64\"><rect x=\"4\" y=\"4\" width=\"56\" "
              "height=\"56\" rx=\"14\" fill=\"#e8704a\"/><path d=\"M18 46 L40 18 L46 24 L24 50 Z\" fill=\"#fff\"/></svg>\n");
    writeText(root + "/.config/sketchpad/settings.ini", "[view]\ngrid=true\n");
    write(root + "/.cache/sketchpad/thumbnails.bin", 2'600'000);
    write(root + "/.local/state/sketchpad/history.log", 300'000);
    const QString deployed = root + "/.local/share/flatpak/app/org.example.Atlas/x86_64/stable/c0ffee";
    writeText(deployed + "/metadata", "[Application]\nname=org.example.Atlas\n");
    write(deployed + "/files/bin/atlas", 9'800'000);
    QFile::link("x86_64/stable", root + "/.local/share/flatpak/app/org.example.Atlas/current");
    QFile::link("c0ffee", root + "/.local/share/flatpak/app/org.example.Atlas/x86_64/stable/active");
    writeText(root + "/.local/share/flatpak/exports/share/applications/org.example.Atlas.desktop",
              "[Desktop Entry]\nType=Application\nName=Atlas\nIcon=org.example.Atlas\n"
              "Exec=flatpak run org.example.Atlas\nX-Flatpak=org.example.Atlas\n");
    writeText(root + "/.local/share/flatpak/exports/share/icons/hicolor/scalable/apps/org.example.Atlas.svg",
              "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 64 64\"><circle cx=\"32\" cy=\"32\" r=\"28\" "
              "fill=\"#3b82c4\"/><path d=\"M14 30 Q32 14 50 30 Q32 46 14 30 Z\" fill=\"#8fd18a\"/></svg>\n");
    write(root + "/.var/app/org.example.Atlas/data/maps/europe.tiles", 5'400'000);
    // A software centre that opens appstream: links, as the desktop finds it.
    writeText(root + "/.local/share/applications/org.example.Software.Handler.desktop",
              "[Desktop Entry]\nType=Application\nName=Software\nNoDisplay=true\nExec=true %U\n"
              "MimeType=x-scheme-handler/appstream;\n");
    write(root + "/.cache/org.example.Atlas/tiles.bin", 1'900'000);
}

// What starts by itself: the autostart entry of a program since removed from
// /opt, a service of the user's own that Atlas's sync runs, switched on, and a
// timer for a backup, switched off.
// An Ollama store whose two models share their weights, with an unfinished
// download, and a Hugging Face cache of one repository.
void addAIModels(const QString& root) {
    const QString store = root + "/.ollama/models";
    write(store + "/blobs/sha256-1111", 6'200'000);
    write(store + "/blobs/sha256-2222", 4'000);
    write(store + "/blobs/sha256-3333", 3'100'000);
    write(store + "/blobs/sha256-4444-partial", 1'700'000);
    const auto manifest = [&](const QString& name, const QByteArray& layers) {
        writeText(store + "/manifests/registry.ollama.ai/library/" + name,
                  "{\"schemaVersion\":2,\"layers\":[" + layers + "]}");
    };
    const QByteArray weights = R"({"mediaType":"application/vnd.ollama.image.model","digest":"sha256:1111"})";
    manifest("llama3/latest", weights + R"(,{"mediaType":"application/vnd.ollama.image.template","digest":"sha256:2222"})");
    manifest("llama3/8b", weights);
    manifest("phi3/mini", R"({"mediaType":"application/vnd.ollama.image.model","digest":"sha256:3333"})");
    const QString hub = root + "/.cache/huggingface/hub/models--someone--tiny-bert";
    write(hub + "/blobs/0a1b2c", 2'300'000);
    QDir().mkpath(hub + "/snapshots/main");
    QFile::link("../../blobs/0a1b2c", hub + "/snapshots/main/model.safetensors");
}

// What the System Data room finds when the home stands for the machine's "/".
void addSystemData(const QString& root) {
    write(root + "/var/cache/apt/archives/editor_2.1_amd64.deb", 3'400'000);
    write(root + "/var/lib/systemd/coredump/core.viewer.1000.zst", 1'200'000);
    write(root + "/var/log/syslog.2.gz", 600'000);
    write(root + "/.local/share/Trash/files/old draft.txt", 250'000);
}

void addStartupItems(const QString& root) {
    writeText(root + "/.config/autostart/clipper.desktop",
              "[Desktop Entry]\nType=Application\nName=Clipper\nExec=/opt/Clipper/clipper --tray\n");
    const QString units = root + "/.config/systemd/user";
    for (const char* program : {"atlas-sync", "photo-backup"}) {
        const QString path = root + "/.local/bin/" + program;
        writeText(path, "#!/bin/sh\n");
        QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    }
    writeText(units + "/org.example.Atlas.Sync.service",
              "[Unit]\nDescription=Atlas map sync\n\n[Service]\nExecStart=%h/.local/bin/atlas-sync --watch\n\n"
              "[Install]\nWantedBy=default.target\n");
    QDir().mkpath(units + "/default.target.wants");
    QFile::link(units + "/org.example.Atlas.Sync.service", units + "/default.target.wants/org.example.Atlas.Sync.service");
    writeText(units + "/photo-backup.service", "[Service]\nType=oneshot\nExecStart=%h/.local/bin/photo-backup\n");
    writeText(units + "/photo-backup.timer", "[Timer]\nOnCalendar=daily\n\n[Install]\nWantedBy=timers.target\n");
}

} // namespace

FixtureFolder::FixtureFolder() {
    if (!folder_.isValid()) return;
    const QString root = folder_.path();
    write(root + "/Documents/Annual report.pdf", 2'400'000);
    write(root + "/Documents/Notes/ideas.txt", 6'000);
    write(root + "/Downloads/installer.iso", 6'500'000);
    write(root + "/Downloads/archive.zip", 1'800'000);
    for (int i = 1; i <= 4; ++i) write(root + QStringLiteral("/Pictures/2024/photo-%1.jpg").arg(i), 1'300'000);
    write(root + "/Music/Album/track-01.flac", 3'100'000);
    write(root + "/Music/Album/track-02.flac", 2'900'000);
    write(root + "/.cache/thumbnails/large.bin", 1'500'000);
    // Junk: what tools download again, a log an app keeps, the session's errors.
    write(root + "/.cache/pip/http/cache.bin", 2'200'000);
    write(root + "/.npm/_cacache/content-v2/data.bin", 3'400'000);
    write(root + "/.local/state/editor/logs/today.log", 1'200'000);
    write(root + "/.xsession-errors", 1'100'000);
    for (int i = 0; i < 40; ++i) write(root + QStringLiteral("/Projects/site/node_modules/pkg-%1/index.js").arg(i), 9'000);
    write(root + "/Projects/site/build/bundle.js", 1'100'000);
    // What removed apps left: a cache untouched for months, a sandboxed app's data, which may hold documents.
    write(root + "/.cache/org.gone.Viewer/thumbnails.db", 1'600'000);
    age(root + "/.cache/org.gone.Viewer", root + "/.cache/org.gone.Viewer/thumbnails.db", 120);
    write(root + "/.var/app/com.example.Player/data/library.db", 900'000);
    // Copies for the duplicates room: a download filed away, photos copied to the desktop, an album backed up.
    write(root + "/Downloads/Annual report (1).pdf", 2'400'000, root + "/Documents/Annual report.pdf");
    write(root + "/Desktop/photo-2.jpg", 1'300'000, root + "/Pictures/2024/photo-2.jpg");
    write(root + "/Desktop/photo-2 copy.jpg", 1'300'000, root + "/Pictures/2024/photo-2.jpg");
    write(root + "/Backup/old laptop/Music/track-01.flac", 3'100'000, root + "/Music/Album/track-01.flac");
    addApps(root);
    addStartupItems(root);
    addAIModels(root);
    addSystemData(root);
}

} // namespace tessel
