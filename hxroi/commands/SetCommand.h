#pragma once

#include <string>
#include <tcl.h>
#include <vector>

class HxMessage;
class HxRois;
class McException;

/// The script commands of a ROI set. Values go into the interpreter's result, texts of failures and usage to the
/// console. For the user-interface thread.
namespace hxroi::commands {

/// Scripts speak UTF-8, the names of ROIs are Latin-1.
std::string latin1(const char* text);
std::string utf8(const std::string& text);

/// One call of a command: argv[0] names the set, argv[1] is the command.
struct SetCommand {
  HxRois& rois;
  Tcl_Interp* interp;
  int argc;
  char** argv;

  /// A word, or all from one on, as names of ROIs.
  std::string name(int index) const { return latin1(argv[index]); }
  std::vector<std::string> namesFrom(int index) const;

  /// A word as it goes into a text.
  std::string shown(int index) const;

  /// Throws McException, with the word as it was given, when the first word from `first` on that names no mask cannot
  /// be a name at all: too long, with control characters or beyond Latin-1. Others are left to the set.
  void refuseImpossibleNames(int first) const;

  /// The host's check of the form: HX_CMD_GO_ON, else what the command answers. "help" is asked for unless a ROI is
  /// called so.
  int checkForm(bool isWellFormed) const;
};

HxMessage& console();

/// True once the user wants the command to end; it then leaves everything as it was, and the interpreter tells of it.
bool isInterrupted();

/// Prints `text` and gives the code of a failure.
int refused(const char* text);
/// The same for a text that may stand for anything.
int refused(const McException& refusal);

int getDimensions(const SetCommand& call);
int getMaskVoxelCount(const SetCommand& call);
int getMaskVoxelBox(const SetCommand& call);
int getMaskBoundingBox(const SetCommand& call);
int allMasks(const SetCommand& call);
int firstLevelRois(const SetCommand& call);
int getId(const SetCommand& call);
int getLDAResourceParameters(const SetCommand& call);

int invertMasks(const SetCommand& call);
int substractMasks(const SetCommand& call);
int mergeMasks(const SetCommand& call);
int splitMask(const SetCommand& call);

int removeRois(const SetCommand& call);
int clearGroups(const SetCommand& call);
int createGroup(const SetCommand& call);
int moveToGroup(const SetCommand& call);
int renameRoi(const SetCommand& call);

int copyAndInsertMasksFrom(const SetCommand& call);
int createAndInsertRoiFrom(const SetCommand& call);

int optimize(const SetCommand& call);

}  // namespace hxroi::commands
