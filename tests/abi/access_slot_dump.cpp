// As slot_dump.cpp, for the engine access classes, whose slots substitutes are compiled against.

#include "bridge/TelvarAccess.h"
#include "bridge/TelvarClassifierAccess.h"
#include "bridge/TelvarSegmenterAccess.h"

using namespace Orbalt::TelvarWrapper::Wrapper;

void Touch(const TelvarAccess& ocr, const TelvarClassifierAccess& classifier,
           TelvarSegmenterAccess& segmenter, const telvar::qv::ocr::Model& ocr_model,
           const telvar::qv::classifier::Model& classifier_model,
           const telvar::qv::segmenter::Model& segmenter_model,
           const telvar::types::ImageView& view, const telvar::types::AffineTransform& transform,
           const telvar::types::Size2<unsigned>& size) {
  ocr.Process(ocr_model, view, transform, size);
  classifier.Process(classifier_model, view);
  segmenter.process(segmenter_model, view, transform, size);
}
