#pragma once

#include <QPixmap>
#include <QString>
#include <memory>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxData.h"

/// A table of colours over a range of values. The touch time changes with the content.
class QUARN_KERNEL_API HxColormap : public HxData {
public:
  MC_CLASS_DECL(HxColormap)

  /// A colour and how opaque it is, in [0, 1].
  struct Entry {
    McColor color;
    float alpha = 1;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  /// Black to white, range 0 to 1.
  HxColormap();

  int size() const { return static_cast<int>(entries_.size()); }
  const Entry& operator[](int i) const { return entries_[static_cast<std::size_t>(i)]; }
  /// At least one entry; throws McException for none. Touches.
  void setEntries(std::vector<Entry> entries);

  /// The values of the first and the last entry.
  float minCoord() const { return min_; }
  float maxCoord() const { return max_; }
  void setMinMax(float min, float max);

  /// The entry nearest to a value; values outside get the first or last one.
  const Entry& lookup(float value) const;

  /// A picture of the colours from the first on the left to the last on the right. With `alpha`, transparent colours
  /// show light and dark checks of `checkSize` pixels behind them, without it all are opaque. Null for sizes below 1.
  QPixmap getPixmap(int width, int height, int checkSize, bool alpha) const;

  /// A small text file: "quarn-colormap 1", "range MIN MAX", and one line "R G B ALPHA" for each entry, numbers from 0
  /// to 1. Throws McException naming the file, and the line that cannot be read; the colormap is then as before, or the
  /// file.
  void saveText(const QString& file) const;
  void loadText(const QString& file);

  /// Expires with the object, for those who remember it without owning it.
  std::weak_ptr<const void> life() const { return life_; }

protected:
  ~HxColormap() override;

private:
  std::vector<Entry> entries_;
  float min_ = 0;
  float max_ = 1;
  const std::shared_ptr<const void> life_;
};
