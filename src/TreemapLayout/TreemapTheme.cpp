#include "TreemapLayout/TreemapTheme.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tessel {

const std::vector<TreemapTheme>& TreemapTheme::all() {
    // Hues far enough apart that neighbouring cards never look alike, and soft
    // enough that a screen full of them stays calm. The dark palette is a step
    // deeper, so that white labels read on it.
    static const std::vector<TreemapTheme> themes{
        {"light", "Light",
         {Color::hex(0x4c8df6), Color::hex(0x34b37a), Color::hex(0xf2a541), Color::hex(0xe5646f),
          Color::hex(0x9b6ce5), Color::hex(0x3bb7c9), Color::hex(0xf08a4b), Color::hex(0x6c7fd8),
          Color::hex(0xc9a227), Color::hex(0xd46ba8)},
         Color::hex(0xf4f4f6), Color::hex(0xffffff), Color::hex(0x1d1d1f), Color::hex(0x6e6e73),
         Color::hex(0x000000).withAlpha(0.12), Color::hex(0x0a6cff).withAlpha(0.16),
         Color::hex(0x0a6cff), false},
        {"dark", "Dark",
         {Color::hex(0x3a6fd0), Color::hex(0x2a9163), Color::hex(0xc98a2e), Color::hex(0xc24e5a),
          Color::hex(0x7e55c2), Color::hex(0x2e97a7), Color::hex(0xc96f3a), Color::hex(0x5466b8),
          Color::hex(0xa88720), Color::hex(0xb0558a)},
         Color::hex(0x1b1b1d), Color::hex(0x2a2a2d), Color::hex(0xf2f2f7), Color::hex(0xa1a1a6),
         Color::hex(0xffffff).withAlpha(0.10), Color::hex(0x409cff).withAlpha(0.22),
         Color::hex(0x409cff), true},
    };
    return themes;
}

const TreemapTheme& TreemapTheme::theme(std::string_view id) {
    for (const TreemapTheme& candidate : all())
        if (candidate.id == id) return candidate;
    return all().front();
}

int TreemapTheme::paletteIndex(std::string_view name) {
    // FNV-1a: the same name gives the same hue on every launch and machine.
    std::uint32_t hash = 2166136261u;
    for (char c : name) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return static_cast<int>(hash & 0x7fffffffu);
}

Color TreemapTheme::tileColor(int paletteIndex, int depth, bool isDirectory) const {
    if (tilePalette.empty()) {
        std::fputs("tessel: a theme without colours\n", stderr);
        std::abort();
    }
    const auto count = static_cast<long>(tilePalette.size());
    const Color& base = tilePalette[static_cast<std::size_t>(std::labs(static_cast<long>(paletteIndex)) % count)];
    double amount = std::min(std::max(0, depth - 1) * 0.09, 0.3);
    if (!isDirectory) amount += 0.05;
    if (!prefersDark) amount *= 0.7;
    return base.lightened(amount);
}

} // namespace tessel
