#pragma once
// Rectangles in points, as the layouts compute them.

namespace tessel {

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    bool isEmpty() const { return !(width > 0) || !(height > 0); }
    // Smaller by `dx` on the left and right and `dy` on the top and bottom.
    Rect insetBy(double dx, double dy) const { return {x + dx, y + dy, width - 2 * dx, height - 2 * dy}; }
    bool contains(double px, double py) const { return px >= x && px < maxX() && py >= y && py < maxY(); }
    bool operator==(const Rect&) const = default;
};

} // namespace tessel
