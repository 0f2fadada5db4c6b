#pragma once

// The engine interface: everything that a telvar library offers.

#include "telvar/callbacks.h"
#include "telvar/classifier.h"
#include "telvar/device.h"
#include "telvar/exceptions.h"
#include "telvar/image.h"
#include "telvar/ocr.h"
#include "telvar/segmenter.h"
