# A choice of regions of an atlas as one label field, and the choice saved with everything else:
#   quarn --script visible.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The templates are those of Debian's package mricron-data.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {$out eq ""} { error "usage: visible.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

# What a value must be for the rest to make sense.
proc expect {what value wanted} {
  if {$value ne $wanted} { error "$what is $value, not $wanted" }
}

load $templates/aal.nii.gz -as atlas -labels $templates/aal.nii.txt -values 1-90
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]

# Every ROI is visible until it is hidden.
create HxRoiSelector choice
choice data connect $rois
foreach name [$rois allMasks] {
  choice roiVisibility setRoiVisible $name [string match Hippocampus_* $name]
}
choice fire

create HxRoisToHxUniformLabelField3 combine
combine maskSelector connect choice
combine doIt hit
combine fire
set labels [combine getResult]
expect "the range of two labels" [$labels getRange] {0.0 2.0}
$labels save NIfTI $out/hippocampi.nii.gz

saveNetwork $out/visible.quarn
clear -force
load $out/visible.quarn
expect "what is visible after loading" [choice roiVisibility isRoiVisible Hippocampus_L] 1
expect "what is hidden after loading" [choice roiVisibility isRoiVisible Amygdala_L] 0
expect "the range of labels made again" [$labels getRange] {0.0 2.0}

# Masks that share voxels: a new one, which is not visible at first.
$rois mergeMasks Hippocampus_L Hippocampus_R
$rois fire
choice roiVisibility setRoiVisible Hippocampus_L-merged 1
choice fire
combine doIt hit
combine fire
expect "the range with an overlap" [$labels getRange] {0.0 255.0}
puts "hippocampi: [$labels getDimensions] voxels, labels 1 and 2, 255 where masks overlap"
