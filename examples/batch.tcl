# Measures all label images of a folder: a table of regions for each image, and a summary with a line for each image.
#   quarn --quiet --script batch.tcl OUTPUT_FOLDER ?IMAGE_FOLDER?
# Taken are images with a table beside them, IMAGE.txt with names or IMAGE.lut with colours, such as aal.nii.txt for
# aal.nii.gz. Regions go to OUTPUT_FOLDER/IMAGE.csv, one line for each label; OUTPUT_FOLDER/summary.csv tells what became
# of each image. One that cannot be measured does not stop the others, but the script then ends with status 1.

set out [lindex $argv 0]
set folder [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: batch.tcl OUTPUT_FOLDER ?IMAGE_FOLDER?" }

create HxUniformLabelField3ToHxRois convert
create HxRoiStatistics statistics

# Options of load for the tables beside an image; none when there are none.
proc tablesOf {image} {
  set stem [expr {[string match *.gz $image] ? [file rootname $image] : $image}]
  set options {}
  if {[file exists $stem.txt]} { lappend options -labels $stem.txt }
  if {[file exists $stem.lut]} { lappend options -colors $stem.lut }
  return $options
}

# The rows of the table of statistics for the labels from first to last.
proc rowsOf {image first last} {
  load $image -as labels {*}[tablesOf $image] -values $first-$last
  set rows {}
  if {[lindex [labels getRange] 1] > 0} {
    convert data connect labels
    convert doIt hit
    convert fire
    set rois [convert getResult]
    statistics data connect $rois
    statistics doIt hit
    statistics fire
    set table [statistics getResult]
    for {set i 0} {$i < [$table getRowCount]} {incr i} {
      set row {}
      foreach column {name voxels volume_mm3 centroid_x centroid_y centroid_z} { lappend row [$table getCell $i $column] }
      lappend rows $row
    }
    remove $rois
  }
  remove labels
  return $rows
}

# A set holds at most 100 masks, so that labels are taken a hundred at a time.
proc measure {image} {
  load $image -as values -kind scalar
  set last [expr {int([lindex [values getRange] 1])}]
  remove values
  set rows {}
  for {set first 1} {$first <= $last} {incr first 100} { lappend rows {*}[rowsOf $image $first [expr {$first + 99}]] }
  return $rows
}

proc writeTable {file header rows} {
  set channel [open $file w]
  puts $channel [join $header ,]
  foreach row $rows { puts $channel [join $row ,] }
  close $channel
}

set summary {}
set failures 0
foreach image [lsort [glob -nocomplain -directory $folder *.nii *.nii.gz *.nrrd *.mha]] {
  if {![llength [tablesOf $image]]} continue
  set name [lindex [split [file tail $image] .] 0]
  if {[catch {measure $image} rows]} {
    incr failures
    puts "$name: $rows"
    lappend summary [list $name 0 0 0 "not measured"]
    foreach left {values labels} { if {$left in [objects]} { remove $left } }
    continue
  }
  set voxels 0
  set volume 0
  foreach row $rows {
    incr voxels [lindex $row 1]
    set volume [expr {$volume + [lindex $row 2]}]
  }
  writeTable $out/$name.csv {name voxels volume_mm3 centroid_x centroid_y centroid_z} $rows
  lappend summary [list $name [llength $rows] $voxels $volume measured]
  puts "$name: [llength $rows] regions, $voxels voxels, [format %.0f $volume] mm3"
}
if {![llength $summary]} { error "$folder: no image has a table beside it" }
writeTable $out/summary.csv {image regions voxels volume_mm3 result} $summary
if {$failures} { error "$failures of [llength $summary] images could not be measured" }
