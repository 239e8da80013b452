#pragma once

#include "hxroi/HxRoisProviderInterface.h"
#include "quarn/base/McHandle.h"

class HxRois;
class HxUniformLabelField3;
class HxUniformLabelField3ToHxRois;

/// Makes a label field a source of a ROI set: the first request converts the field, one mask for each label but 0, and
/// every later one gives the same set. The set stays what it was made as, whatever becomes of the field; its "data" is
/// connected to the field. Converter and set are not in the pool.
class HXROI_API HxRoisProviderFromHxUniformLabelField3 : public HxRoisProviderInterface {
public:
  MC_CLASS_DECL(HxRoisProviderFromHxUniformLabelField3)

  /// `owner` is a label field.
  explicit HxRoisProviderFromHxUniformLabelField3(McInterfaceOwner* owner);
  ~HxRoisProviderFromHxUniformLabelField3() override;

  /// Null when the field cannot be converted, which is not tried again, and when it goes away meanwhile. An exception
  /// of the conversion comes out once; a set that keeps the masks made until then is given from then on.
  HxRois* getHxRois() override;

private:
  void convert(HxUniformLabelField3* field);
  void takeResult(HxUniformLabelField3* field);

  McHandle<HxUniformLabelField3ToHxRois> converter_;
  McHandle<HxRois> rois_;
};
