#pragma once

/// @file
/// Scales.

/// A scale in three dimensions, by default (1.0, 1.0, 1.0).
struct KzGeScale3d {
    double sx = 1.0; ///< along x
    double sy = 1.0; ///< along y
    double sz = 1.0; ///< along z

    constexpr KzGeScale3d() = default;
    /// The three factors in order.
    constexpr KzGeScale3d(double x, double y, double z) : sx(x), sy(y), sz(z) {}
};
