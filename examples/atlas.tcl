# The whole way of a real atlas: from a T1 image and named labels to ROIs in groups, new ROIs, pieces, tables and files.
#   quarn --quiet --script atlas.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The templates are those of Debian's package mricron-data. verify.tcl checks what was saved.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: atlas.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

set started [clock milliseconds]
proc step {text} {
  puts [format "%6.2f s  %s" [expr {([clock milliseconds] - $::started) / 1000.0}] $text]
}

# Lets a module do its work.
proc run {module} {
  $module doIt hit
  $module fire
  return [$module getResult]
}

# The number of the row of a table that has this text in a column.
proc rowWith {table column text} {
  for {set row 0} {$row < [$table getRowCount]} {incr row} {
    if {[$table getCell $row $column] eq $text} { return $row }
  }
  error "no row has $text in its column $column"
}

load $templates/ch2.nii.gz -as brain
# The first 90 labels are the cerebrum, in pairs left and right; a set holds at most 100 masks.
load $templates/aal.nii.gz -as atlas -labels $templates/aal.nii.txt -colors $templates/aal.nii.lut -values 1-90
step "loaded a T1 brain and an atlas on its grid"

create HxUniformLabelField3ToHxRois convert
convert data connect atlas
set rois [run convert]
$rois data connect brain
step "[llength [$rois allMasks]] ROIs on a grid of [join [$rois getDimensions] { x }] voxels"

foreach structure {Hippocampus Amygdala Thalamus} {
  $rois mergeMasks ${structure}_L ${structure}_R
  $rois renameRoi ${structure}_L-merged $structure
}
$rois substractMasks Hippocampus Hippocampus_R
step "merged left and right of three structures, and took the right hippocampus away again"

foreach {group ending} {Left _L Right _R} {
  $rois createGroup $group {*}[lsearch -all -inline -glob [$rois allMasks] *$ending]
}
step "two groups, one for each hemisphere: [$rois firstLevelRois]"

create HxRoiSplit splitter
splitter data connect $rois
splitter mask setValue Hippocampus
set pieces [run splitter]
$pieces data connect brain
$pieces save $out/hippocampus.ROIs.qm
step "split the two hippocampi into connected pieces: [$pieces allMasks]"

create HxRoiStatistics statistics
statistics data connect $rois
statistics image connect brain
set table [run statistics]
$table save CSV $out/statistics.csv
step "measured [$table getRowCount] ROIs with the image"
foreach name {Left Right Hippocampus Amygdala Thalamus} {
  set row [rowWith $table name $name]
  puts [format "            %-12s %8d voxels %10.1f mm3   mean %5.1f, standard deviation %4.1f" $name \
    [$table getCell $row voxels] [$table getCell $row volume_mm3] [$table getCell $row mean] [$table getCell $row sd]]
}

load $templates/brodmann.nii.gz -as areas -colors $templates/brodmann.nii.lut
create HxUniformLabelField3ToHxRois convertAreas
convertAreas data connect areas
set areas [run convertAreas]
create HxRoiOverlap overlap
overlap data connect $rois
overlap other connect $areas
set pairs [run overlap]
$pairs save CSV $out/areas.csv
set best 0
for {set row 1} {$row < [$pairs getRowCount]} {incr row} {
  if {[$pairs getCell $row dice] > [$pairs getCell $best dice]} { set best $row }
}
step [format "%d pairs share voxels with the areas of another atlas; most alike are %s and %s, Dice %.3f" \
  [$pairs getRowCount] [$pairs getCell $best a] [$pairs getCell $best b] [$pairs getCell $best dice]]

$rois save $out/brain.ROIs.qm
step "saved the set"

$rois save $out/brain.seg.nrrd
load $out/brain.seg.nrrd -as back
foreach command {allMasks firstLevelRois} {
  if {[back $command] ne [$rois $command]} { error "$out/brain.seg.nrrd: $command came back as [back $command]" }
}
step "exported it as a segmentation for other programs, and read that back"
