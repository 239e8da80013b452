#pragma once

#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortSeparator.h"
#include "quarn/kernel/ports/HxPortText.h"

/// A text as a data object, with a port of every kind. It can be made by its name, and read from files ".note" while a
/// NoteFiles lives.
class NetNote : public HxData {
public:
  MC_CLASS_DECL(NetNote)

  NetNote();

  void compute() override { ++evaluations; }
  void setText(const QString& newText) {
    text = newText;
    touch(8);
  }

  QString text;
  int evaluations = 0;
  HxConnection input{this, "input", "Input", HxData::getClassTypeId()};
  HxPortSeparator separator{this, "separator", "Everything"};
  HxPortText words{this, "words", "Words"};
  HxPortInteger number{this, "number", "Number", -1000, 1000};
  HxPortRadioBox choice{this, "choice", "Choice", 3};
  HxPortColorList colors{this, "colors", "Colors", 2};
  HxPortColormap map{this, "map", "Map"};
  HxPortDoIt buttons{this, "buttons", "Buttons", 2};

protected:
  ~NetNote() override;
};

/// Makes a note of the note at "data" when its button is pressed.
class NetMaker : public HxCompModule {
public:
  MC_CLASS_DECL(NetMaker)

  NetMaker();
  void compute() override;

  HxPortText ending{this, "ending", "Ending"};
  HxPortDoIt doIt{this, "doIt", "Do It", 1};

protected:
  ~NetMaker() override;
};

/// Registers both classes, and the files of notes, while it lives.
class NoteFiles {
public:
  NoteFiles();
  ~NoteFiles();
  NoteFiles(const NoteFiles&) = delete;
  NoteFiles& operator=(const NoteFiles&) = delete;
};
