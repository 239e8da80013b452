# Counts the voxels of a brain in ten ranges of values, with the module of this folder:
#   quarn --package-path FOLDER_OF_THE_LIBRARY --script histogram.tcl ?TEMPLATE_FOLDER?

set templates [expr {$argc > 0 ? [lindex $argv 0] : "/usr/share/mricron/templates"}]
load $templates/ch2.nii.gz -as brain
create HxHistogram histogram
histogram data connect brain
histogram ranges setValue 10
histogram doIt hit
histogram fire

set table [histogram getResult]
set sum 0
for {set row 0} {$row < [$table getRowCount]} {incr row} { incr sum [$table getCell $row voxels] }
set voxels [tcl::mathop::* {*}[brain getDimensions]]
if {$sum != $voxels} { error "$sum voxels were counted, the image has $voxels" }
puts "$sum voxels in [$table getRowCount] ranges"
