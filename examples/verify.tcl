# Loads a saved ROI set and compares it with the table written beside it:
#   quarn --script verify.tcl FOLDER
# Names, order, identifiers, colours, boxes and every voxel count must be the same.

set folder [lindex $argv 0]
if {$folder eq ""} { error "usage: verify.tcl FOLDER" }

set rois [load $folder/brain.ROIs.qm]
create HxRoiStatistics statistics
statistics data connect $rois
statistics doIt hit
statistics fire
[statistics getResult] save CSV $folder/statistics-reloaded.csv

proc rows {file columns} {
  set channel [open $file]
  set lines [split [string trim [read $channel]] \n]
  close $channel
  set header [split [lindex $lines 0] ,]
  set result {}
  foreach line [lrange $lines 1 end] {
    set cells [split $line ,]
    set row {}
    foreach column $columns { lappend row [lindex $cells [lsearch -exact $header $column]] }
    lappend result $row
  }
  return $result
}

set failures 0
proc check {what columns} {
  global folder failures
  set saved [rows $folder/statistics.csv $columns]
  set loaded [rows $folder/statistics-reloaded.csv $columns]
  set same [expr {[llength $saved] > 0 && $saved eq $loaded}]
  if {!$same} { incr failures }
  puts [format "  %-5s %s (%d ROIs)" [expr {$same ? "ok" : "WRONG"}] $what [llength $loaded]]
}

check "names and order" {name group}
check "identifiers" {name id}
check "colours" {name color}
check "voxel counts" {name voxels}
check "boxes" {name xmin xmax ymin ymax zmin zmax}
if {$failures} { error "$failures of 5 checks failed" }
