# Draws regions of a real atlas over the brain that they belong to:
#   quarn --script picture.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# Regions of the left side and some deep ones of both sides stand in space between slices of the image; the panes beside
# show the slices with the same regions. OUTPUT_FOLDER/atlas.png is left there. No display and no graphics card is needed.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: picture.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

# A soft colour for each label; both sides of a region have the same.
proc softColor {i} {
  set channels {}
  foreach shift {0.0 2.094 4.189} {
    lappend channels [expr {int(255 * (0.66 + 0.30 * cos($i * 2.39996 + $shift)))}]
  }
  return $channels
}
set table $out/atlas-colors.ctbl
set colors [open $table w]
set names [open $templates/aal.nii.txt]
while {[gets $names line] >= 0} {
  lassign $line value name
  if {[string is integer -strict $value] && $value <= 90} {
    puts $colors "$value $name [softColor [expr {($value - 1) / 2}]] 255"
  }
}
close $names
close $colors

load $templates/ch2bet.nii.gz -as brain
load $templates/aal.nii.gz -as atlas -labels $table -values 1-90
file delete $table
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]
$rois data connect brain

create HxRoiSelector regions
regions data connect $rois
regions fire
set shown {Temporal_*_L Occipital_*_L Fusiform_L ParaHippocampal_L Lingual_L Calcarine_L Cuneus_L Heschl_L Angular_L
  SupraMarginal_L Parietal_Inf_L Insula_L Hippocampus_* Amygdala_* Caudate_* Putamen_* Pallidum_* Thalamus_*}
foreach mask [$rois allMasks] {
  set isShown 0
  foreach pattern $shown { if {[string match $pattern $mask]} { set isShown 1 } }
  if {!$isShown} { regions roiVisibility setRoiVisible $mask 0 }
}
regions fire

create HxSceneView view
view show brain regions
view slice x 100
view slice y 95
view slice z 62
view camera left
view camera azimuth -48
view camera elevation 26
view camera zoom 1.3
view snapshot $out/atlas.png 1080 720

set visible 0
foreach mask [$rois allMasks] { incr visible [regions roiVisibility isRoiVisible $mask] }
puts "$visible of [llength [$rois allMasks]] regions over the brain: [file join $out atlas.png]"
