#pragma once

#include "hxroi/export.h"
#include "quarn/kernel/io/HxFileTypes.h"

class HxData;
class QuarnMesh;

/// What the host finds in the library by name. Everything is for the user-interface thread.
extern "C" {

/// Register and unregister the classes of the package. Each does its work once until the other one has run; the library
/// itself calls them when it is loaded and unloaded.
HXROI_API void quarnpackage_hxroi_init();
HXROI_API void quarnpackage_hxroi_finish();

/// Reader of the file type: a parsed set file becomes a registered ROI set. Returns 1, or 0 after reporting why.
HXROI_API int hxroi_readRois(QuarnMesh* mesh, const char* filename);

/// Check of the file type: every mask of a parsed set file is read to its last byte. Nothing is
/// loaded, and nothing changed but that a save which was interrupted is finished first.
HXROI_API void hxroi_verifyRois(QuarnMesh* mesh, const char* filename, const HxVerificationReport& report);

/// Savers of the file type, one to a flavour of the header. 0 also for an object that is no ROI set, and when masks
/// could not be written, so that the set is still modified although the others are saved.
HXROI_API int hxroi_saveQuarnMesh(HxData* data, const char* filename);
HXROI_API int hxroi_saveZelto(HxData* data, const char* filename);
HXROI_API int hxroi_saveMivro(HxData* data, const char* filename);
}
