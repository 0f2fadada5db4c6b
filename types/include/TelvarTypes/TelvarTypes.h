#pragma once

// Everything that a host compiles against: the interfaces of the three tools, the records they take
// and return, and the exceptions they throw.
//
// Order of calls: CreateWrapperFactory, then one of the factory's functions with the tool's stored
// state, then any of the tool's operations, then GetData to store the state again. See
// IWrapperFactory.h for an example, each interface for its threads and ownership.

#include "TelvarTypes/CommonDataSet.h"
#include "TelvarTypes/Exceptions.h"
#include "TelvarTypes/Export.h"
#include "TelvarTypes/ISmartClassifierWrapper.h"
#include "TelvarTypes/ISmartOCRWrapper.h"
#include "TelvarTypes/ISmartSegmenterWrapper.h"
#include "TelvarTypes/IWrapperFactory.h"
#include "TelvarTypes/Image.h"
#include "TelvarTypes/MonitoredLoader.h"
#include "TelvarTypes/ROI.h"
#include "TelvarTypes/SmartClassifier.h"
#include "TelvarTypes/SmartOCR.h"
#include "TelvarTypes/SmartSegmenter.h"
