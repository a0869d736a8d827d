#pragma once

namespace Bench
{
/// What the command line says; set before the first row is registered.
struct Options
{
    bool isSmoke = false; ///< one round of the smallest sizes: shows that everything runs, measures nothing
    int rounds = 21;      ///< ratios of which the median counts
    unsigned seed = 1;    ///< of everything that is drawn by lot
    int size = 0;         ///< widgets, items or contacts; 0 for the size of the row's figure

    /// The size to measure at: what the command line says, else little for a smoke run, else the row's own.
    [[nodiscard]] int sizeOr(int usual, int smoke) const { return size > 0 ? size : isSmoke ? smoke : usual; }
};

[[nodiscard]] Options& options();
}
