// Compiled for its vtable layouts only: a compiler dumps those of the classes that are called.

#include <TelvarTypes/TelvarTypes.h>

using namespace Orbalt::TelvarWrapper::Types;

void Touch(IWrapperFactory& factory, ISmartOCRWrapper& ocr, ISmartClassifierWrapper& classifier,
           ISmartSegmenterWrapper& segmenter) {
  factory.CreateSmartOCRWrapper(nullptr);
  ocr.GetData();
  classifier.GetData();
  segmenter.GetData();
}
