# Draws the regions of a real atlas over the brain that they belong to:
#   quarn --script picture.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?
# The regions of the left side stand in space, with slices of the image between them; slices show both sides.
# OUTPUT_FOLDER/atlas.png is left there. No display and no graphics card is needed.

set out [lindex $argv 0]
set templates [expr {$argc > 1 ? [lindex $argv 1] : "/usr/share/mricron/templates"}]
if {![file isdirectory $out]} { error "usage: picture.tcl OUTPUT_FOLDER ?TEMPLATE_FOLDER?" }

load $templates/ch2bet.nii.gz -as brain
load $templates/aal.nii.gz -as atlas -labels $templates/aal.nii.txt -values 1-90
create HxUniformLabelField3ToHxRois convert
convert data connect atlas
convert doIt hit
convert fire
set rois [convert getResult]
$rois data connect brain

create HxRoiSelector regions
regions data connect $rois
regions fire
foreach mask [$rois allMasks] {
  if {[string match *_R $mask]} { regions roiVisibility setRoiVisible $mask 0 }
}
regions fire

create HxSceneView view
view show brain regions
view slice x 90
view slice y 100
view slice z 78
view camera left
view camera azimuth -38
view camera elevation 24
view snapshot $out/atlas.png 1280 860
