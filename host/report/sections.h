// One section of a report per tool.
#pragma once

#include "evaluation/classifier_evaluation.h"
#include "evaluation/reader_evaluation.h"
#include "evaluation/segmenter_evaluation.h"
#include "report/html.h"

namespace telvar_host {

// Figures, confusion matrix, accuracy over coverage, and an image of every wrong answer, the
// surest first.
Section section_of(const ClassifierEvaluation& evaluation);

// Figures, IoU by category and over thresholds, and every image with a wrong pixel, worst first.
// `evaluation` must have been made for a report.
Section section_of(const SegmenterEvaluation& evaluation);

// Figures, what was taken for what, an image of every wrong line or mark, most errors first, and
// the images with what was read.
Section section_of(const ReaderEvaluation& evaluation, const OcrData& data,
                   const NominalSize& size);

}  // namespace telvar_host
