# What two atlases have in common, and the bright part of a brain, by its own threshold, inside one region:
#   quarn --script overlap.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The templates are those of Debian's package mricron-data.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {$out eq ""} { error "usage: overlap.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

# One ROI for each label of a field.
proc roisOf {field} {
  set module [create HxUniformLabelField3ToHxRois convert-$field]
  $module data connect $field
  $module doIt hit
  $module fire
  return [$module getResult]
}

# Names and colours come from two files.
load $templates/aal.nii.gz -as regions -labels $templates/aal.nii.txt -colors $templates/aal.nii.lut -values 1-90
load $templates/brodmann.nii.gz -as areas -colors $templates/brodmann.nii.lut -values 1-48
regions save "Color table" $out/regions.ctbl
regions save "Label descriptions" $out/regions.label
set regions [roisOf regions]
set areas [roisOf areas]

create HxRoiOverlap overlap
overlap data connect $regions
overlap other connect $areas
overlap doIt hit
overlap fire
overlap save CSV $out/overlap.csv
set table [overlap getResult]
puts "[$table getRowCount] pairs of a region and an area share voxels"

load $templates/ch2.nii.gz -as brain
create HxRangeToLabels bright
bright data connect brain
bright method setValue otsu
bright rois connect $regions
bright mask setValue Precentral_L
bright doIt hit
bright fire
set inside [roisOf [bright getResult]]
$inside data connect brain
puts "bright part of the precentral gyrus: [$inside getMaskBoundingBox Inside]"

foreach file {regions.ctbl regions.label overlap.csv} {
  if {![file exists $out/$file]} { error "$out/$file was not written" }
}
if {[$table getRowCount] < 90} { error "only [$table getRowCount] pairs were found" }
