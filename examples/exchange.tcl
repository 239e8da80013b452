# Takes a set of masks that overlap to other programs and back: as a segmentation, and as one label field.
#   quarn --script exchange.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# What comes back is checked. OUTPUT_FOLDER/brain.seg.nrrd and OUTPUT_FOLDER/brain-labels.field.qm are left there.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: exchange.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

load $templates/aal.nii.gz -as atlas -labels $templates/aal.nii.txt -values 1-90
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]
$rois data connect atlas
$rois mergeMasks Hippocampus_L Hippocampus_R

puts "formats: [$rois formats]"
$rois save $out/brain.seg.nrrd
set names [load $out/brain.seg.nrrd -as back]
puts "back: $names, [llength [back allMasks]] masks"
if {[back allMasks] ne [$rois allMasks]} { error "other masks came back" }
# Voxel by voxel: what a mask shares with the one of its name is all of both.
create HxRoiOverlap overlap
overlap data connect $rois
overlap other connect back
overlap doIt hit
overlap fire
set pairs [overlap getResult]
set same 0
for {set row 0} {$row < [$pairs getRowCount]} {incr row} {
  if {[$pairs getCell $row a] eq [$pairs getCell $row b] && [$pairs getCell $row dice] == 1} { incr same }
}
if {$same != [llength [$rois allMasks]]} { error "only $same masks came back with the same voxels" }
puts "$same masks came back with the same voxels"

# One label for each voxel: masks that overlap must be wanted.
create HxRoisToLabels labels
labels data connect back
labels doIt hit
if {![catch {labels fire} text]} { error "overlaps were not refused" }
puts $text
labels overlaps setValue flattened
labels doIt hit
labels fire
[labels getResult] save $out/brain-labels.field.qm
puts "labels: [[labels getResult] getRange]"
