# Takes the regions of a real atlas apart, one connected piece after the other, the largest first:
#   quarn --script pieces.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# Each region is checked: its pieces and the rest together have as many voxels as the region. They are saved as
# OUTPUT_FOLDER/REGION.ROIs.qm.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: pieces.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

load $templates/natbrainlab.nii.gz -as atlas -kind label
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]

create HxRoiStatistics regions
regions data connect $rois
regions doIt hit
regions fire
set regionTable [regions getResult]

# The ten largest pieces of at least 20 voxels each, and one mask for all smaller ones.
create HxRoiSplit splitter
splitter data connect $rois
splitter largest setValue 10
splitter minimumSize setValue 20
splitter rest setValue "one mask"

create HxRoiStatistics pieces
set failures 0
set row 0
foreach name [$rois allMasks] {
  splitter mask setValue $name
  splitter doIt hit
  splitter fire
  set set [splitter getResult]
  pieces data connect $set
  pieces doIt hit
  pieces fire
  set table [pieces getResult]
  set sum 0
  for {set i 0} {$i < [$table getRowCount]} {incr i} { incr sum [$table getCell $i voxels] }
  if {$sum != [$regionTable getCell $row voxels]} {
    puts "$name: the pieces have $sum voxels, the region has [$regionTable getCell $row voxels]"
    incr failures
  }
  $set save QuarnMesh $out/$name.ROIs.qm
  incr row
}
if {$failures} { error "$failures regions are not the sum of their pieces" }
puts "$row regions, each the sum of its pieces"
