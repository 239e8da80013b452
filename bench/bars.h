#pragma once

#include "bench/contest.h"

/// Operations with a bar: what they may take at most beside the peer and beside a plain loop over the same bytes.
namespace bench {

void addOperatorBars(Against against);

/// Those that stand beside no peer: what is promised for constants, and boxes beside plain copies.
void addConstantBars();
void addBoxBars();

/// What is promised for the bookkeeping of a ROI set.
void addMembershipBars();

/// Those that stand beside the peer or a promise.
void addBoundingBoxBars();
void addFileBars();

/// Connected components beside ITK and the peer.
void addComponentBars();
void addLabelFieldBars();

/// Label images to masks, beside ITK.
void addLabelBars();

/// Dilation and erosion beside the peer, ITK and SciPy.
void addMorphologyBars();

}  // namespace bench
