# From an image without labels to ROIs: what is brighter than the threshold of Otsu's method, in its largest pieces.
#   quarn --script threshold.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The pieces are saved as bright.ROIs.qm, and as the label image bright.nii.gz with the table bright.label.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: threshold.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

proc run {module} {
  $module doIt hit
  $module fire
  return [$module getResult]
}

load $templates/ch2bet.nii.gz -as brain
create HxRangeToLabels range
range data connect brain
range method setValue otsu
set labels [run range]

create HxUniformLabelField3ToHxRois convert
convert data connect $labels
set bright [run convert]
# A set lies where the field at its "data" does.
$bright data connect brain

create HxRoiSplit splitter
splitter data connect $bright
splitter largest setValue 5
set pieces [run splitter]
$pieces save QuarnMesh $out/bright.ROIs.qm

create HxRoisToLabels labeller
labeller data connect $pieces
set image [run labeller]
$image save $out/bright.nii.gz
$image save "Label descriptions" $out/bright.label

load $out/bright.nii.gz -as again -labels $out/bright.label
convert data connect again
set back [run convert]
if {[$back allMasks] ne [$pieces allMasks]} { error "names came back as [$back allMasks]" }
puts "The largest pieces: [join [$pieces allMasks] {, }]"
