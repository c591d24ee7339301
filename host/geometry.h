#pragma once

/// A scale in three dimensions, (1.0, 1.0, 1.0) unless said otherwise.
struct KzGeScale3d {
    double sx = 1.0;
    double sy = 1.0;
    double sz = 1.0;

    constexpr KzGeScale3d() = default;
    constexpr KzGeScale3d(double x, double y, double z) : sx(x), sy(y), sz(z) {}
};
