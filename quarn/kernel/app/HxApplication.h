#pragma once

#include <QPointer>
#include <QWidget>

#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/app/HxSkin.h"
#include "quarn/kernel/export.h"

class McProgressInterface;

/// The process as the rest of the system sees it. instance() always works, with or without Qt's application object and
/// with or without a window. For the user-interface thread, except message() and progress().
class QUARN_KERNEL_API HxApplication {
public:
  static HxApplication* instance();

  HxMessage* message() { return &message_; }
  HxSettingsMgr* settings() { return &settings_; }
  HxSkin* skin() { return &skin_; }

  /// The progress display; never null.
  static McProgressInterface* progress();
  /// Replaces the progress display (not owned); null brings back the terminal's. Returns the one used before.
  static McProgressInterface* setProgress(McProgressInterface* progress);

  /// Parent for dialogs; null without a window.
  static QWidget* mainWidget();
  static void setMainWidget(QWidget* widget);

  /// Whether a dialog can be shown and somebody may be there to answer it: the process has widgets, and nothing said
  /// that the run is not watched.
  static bool canAsk();
  /// Says that nobody watches this run, as that of a script.
  static void setUnattended(bool unattended);

  /// True while a saved network is being read by the interpreter: refused connections then show their reason.
  bool isLoadingNetwork() const { return loadingNetwork_; }
  void setLoadingNetwork(bool loading) { loadingNetwork_ = loading; }

  HxApplication(const HxApplication&) = delete;
  HxApplication& operator=(const HxApplication&) = delete;

private:
  HxApplication() = default;

  HxMessage message_;
  HxSettingsMgr settings_;
  HxSkin skin_;
  bool loadingNetwork_ = false;
};
