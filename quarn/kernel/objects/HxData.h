#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>

#include "quarn/kernel/export.h"
#include "quarn/kernel/io/HxLoadOptions.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/ports/HxConnection.h"

class HxEditor;

/// A data object: parameters, a touch time that observers compare, and a state "modified since it was saved".
class QUARN_KERNEL_API HxData : public HxObject {
public:
  MC_CLASS_DECL(HxData)

  /// Puts an object into the pool, which holds a reference from then on. `name` is made safe and unique there; a file
  /// name may be given as it is. What a reader registers is the result of the `load` that runs it.
  static void registerData(HxData* data, const QString& name);

  // --- Changes

  /// Also advances the touch time.
  void touch(unsigned int flags = 0xFFFFFFFFu) override;
  /// Changes with every touch, by a counter that all data objects share. Never 0xFFFFFFFF. For any thread.
  std::uint32_t getTouchTime() const { return touchTime_.load(std::memory_order_acquire); }

  /// Marks the object modified; 0 marks it saved, and what was touched before counts no more. After an evaluation it is
  /// called with all flags that were touched since the object was last marked saved, so that a class which looks for
  /// some of them does not forget the earlier ones.
  virtual void setModified(unsigned int flags);
  /// True when the object needs saving. Touches that were not evaluated yet are counted first.
  bool isModified();
  /// True when something worth saving changed after a module had set the object as its result, so that the module would
  /// not make the same again. Which changes count is asked of setModified(), whose effect is taken back.
  bool isChangedSinceMade();
  /// What was changed up to now counts no more for isChangedSinceMade().
  void forgetChangesSinceMade() { sinceMade_.store(0, std::memory_order_release); }

  // --- Place

  /// Bounds in world units: xmin, xmax, ymin, ymax, zmin, zmax. Here: the empty box.
  virtual void getBoundingBox(float box[6]);

  // --- Editor

  /// The attached editor or null.
  HxEditor* getEditor() const { return editor_; }
  /// Attaches an editor in place of the former; null takes it away. Calls onEditorChanged().
  void setEditor(HxEditor* editor);
  virtual void onEditorChanged() {}

  // --- Making it again

  /// What brings an object back.
  enum class Origin { File, Module, Class };
  Origin origin();

  /// Notes the file (absolute) from which the object can be loaded again, without options; empty for none.
  void setLoadCmd(const QString& fileName);
  const QString& getLoadCmd() const { return loadFile_; }
  /// The options that loading that file needs; the name among them does not count.
  void setLoadOptions(const HxLoadOptions& options) { loadOptions_ = options; }
  const HxLoadOptions& getLoadOptions() const { return loadOptions_; }
  /// Looks for the files that loading the object again needs besides getLoadCmd(). Throws McException naming the first
  /// that is missing. Here: those with names and colours of labels.
  virtual void requireCompanionFiles() const;
  /// Notes which program made the data. Shown to the user; not a parameter that is saved.
  void setSaveInfo(const QString& info) { saveInfo_ = info; }
  const QString& getSaveInfo() const { return saveInfo_; }

  /// Writes the script lines that bring the object back: loading its file, or having it made by the module whose result
  /// it is, or making an empty one. `directory` is the folder of the network file, relative to which files below it are
  /// named, or null. A null `file` writes nothing.
  virtual void saveCreation(std::FILE* file, const char* directory, unsigned int flags);

  int parse(Tcl_Interp* interp, int argc, char** argv) override;

  HxParamBundle parameters;
  /// Leads to the module whose result this is; named "master".
  HxConnection baseConnection;

protected:
  HxData();
  ~HxData() override;

  /// Marks like touch() but leaves the touch time alone.
  void mark(unsigned int flags);
  /// Sets the state that setModified() is about; touches that are not counted yet stay.
  void setModifiedState(bool modified) { modified_ = modified; }
  /// Puts a remembered touch time back.
  void setTouchTime(std::uint32_t time) { touchTime_.store(time, std::memory_order_release); }

private:
  friend class HxCompModule;

  void evaluated() override;
  void countTouches();
  void askModified(unsigned int flags);
  QString makingScript();
  std::string loadingLine(const char* directory) const;
  QString creationScript(const char* directory);
  int parseParameters(Tcl_Interp* interp, int argc, char** argv);
  int parseSave(int argc, char** argv);
  int parseFormats(Tcl_Interp* interp);

  std::atomic<std::uint32_t> touchTime_;
  std::atomic<unsigned int> uncounted_{0};
  std::atomic<unsigned int> sinceMade_{0};
  unsigned int sinceSaved_ = 0;
  bool asksOnly_ = false;  ///< setModified() is called for its answer
  bool modified_ = false;
  McHandle<HxEditor> editor_;
  QString loadFile_;
  HxLoadOptions loadOptions_;
  QString saveInfo_;
};
