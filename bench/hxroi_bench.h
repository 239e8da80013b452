#pragma once

/// The benchmarks of the package, in parts; each registers its own.
namespace bench {

/// Operators, bounding boxes and box views of single masks.
void addMaskBenchmarks();

/// A real atlas: labels to masks, saving, loading and measuring the set.
void addAtlasBenchmarks();

/// Files of large sets: opening and checking them.
void addSetBenchmarks();

/// The tree of a large set in a window.
void addTreeBenchmarks();

}  // namespace bench
