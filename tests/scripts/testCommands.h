#pragma once

/// Commands that scripts of tests have beside those of the program. Voxels are boxes, each a word "x0 x1 y0 y1 z0 z1"
/// with inclusive bounds, in a grid of 70 x 40 x 36 voxels: several of the smallest tiles.
///   mask SET NAME ?BOX...?          adds a mask to a set
///   labels NAME ?LABEL BOX...?      a label field
///   voxels SET MASK                 the number of set voxels
///   dump SET                        names, groups, colours, identifiers, voxels: everything that a command may change
void addTestCommands();
