# Takes the ROI set that atlas.tcl has saved to another program and back, overlapping masks and groups too:
#   quarn --script exchange.tcl FOLDER
# FOLDER/brain.seg.nrrd is a segmentation with layers, FOLDER/masks a folder with one NIfTI image for each mask.

set folder [lindex $argv 0]
if {![file exists $folder/brain.ROIs.qm]} { error "usage: exchange.tcl FOLDER_OF_ATLAS" }

set rois [lindex [load $folder/brain.ROIs.qm] 0]
$rois createGroup Thalamus Thalamus_L Thalamus_R Thalamus_L-merged

$rois save $folder/brain.seg.nrrd
file delete -force $folder/masks
$rois save "NIfTI masks" $folder/masks

proc countsOf {rois} {
  set statistics [create HxRoiStatistics]
  $statistics data connect $rois
  $statistics doIt hit
  $statistics fire
  set table [$statistics getResult]
  set counts {}
  for {set row 0} {$row < [$table getRowCount]} {incr row} {
    lappend counts [list [$table getCell $row name] [$table getCell $row group] [$table getCell $row voxels]]
  }
  return $counts
}

set wanted [countsOf $rois]
foreach file {brain.seg.nrrd masks/brain.masks.csv} {
  set back [lindex [load $folder/$file -as [file rootname [file tail $file]]] 0]
  if {[countsOf $back] ne $wanted} { error "$file does not hold the set that was saved" }
  puts "$file: [llength $wanted] masks and groups, names, order and every voxel count as they were"
}
