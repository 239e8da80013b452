# From a T1 image and a named label atlas to a saved ROI set:
#   quarn --script atlas.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The templates are those of Debian's package mricron-data.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {$out eq ""} { error "usage: atlas.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

set started [clock milliseconds]
proc step {text} {
  puts [format "%6.2f s  %s" [expr {([clock milliseconds] - $::started) / 1000.0}] $text]
}

step "loading a T1 brain and the atlas on its grid"
load $templates/ch2.nii.gz -as brain
# The first 90 labels are the cerebrum, in pairs left and right; a set holds at most 100 masks.
load $templates/aal.nii.gz -as atlas -labels $templates/aal.nii.txt -values 1-90

step "one ROI for each label"
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]
$rois data connect brain
step "[llength [$rois allMasks]] ROIs on a grid of [join [$rois getDimensions] { x }] voxels"

step "merging left and right of three structures"
foreach structure {Hippocampus Amygdala Thalamus} {
  $rois mergeMasks ${structure}_L ${structure}_R
}

step "subtracting: both hippocampi without the right one are the left one"
$rois substractMasks Hippocampus_L-merged Hippocampus_R

step "statistics with the image"
create HxRoiStatistics statistics
statistics data connect $rois
statistics image connect brain
statistics doIt hit
statistics fire
set table [statistics getResult]
$table save CSV $out/statistics.csv

step "saving"
$rois save QuarnMesh $out/brain.ROIs.qm
step "saved $out/brain.ROIs.qm"
