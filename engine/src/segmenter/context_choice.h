#pragma once

// Whether a data set is learned with context.

#include "segmenter/fine_training.h"

namespace telvar::segmenter {

/// Before this round it is decided.
constexpr int kRoundOfChoice = 3;

/// Whether context could help a network that reached `score` before the round of choice: few images
/// do not tell what a whole region looks like, overviews do not show thin marks, and small regions
/// are seen nearly whole by the fine network.
bool may_have_context(const TrainingSet& set, double score);

/// Whether a context of so many networks, on its own, finds some categories so much better than the
/// fine network does that both together may: for its next network to be trained, and, with all of
/// them, for it to be used.
bool is_promising(const std::vector<Overlap>& context, int nets, const std::vector<Overlap>& fine);

/// Teaches context networks, initial or earlier ones, on the overviews of samples not held out.
void teach_context(const TrainingTask& task, ContextModel& model);

/// Teaches them further: first on the overviews of all samples not held out, so that these can
/// tell how sure they then are, at last on those of all samples. What the fine network was shown
/// came from networks that knew half of them: what is delivered knows more.
void join_context(const TrainingTask& task, ContextModel& model);
void finish_context(const TrainingTask& task, ContextModel& model);

/// Gives the networks a context if it promises something beside what the fine one finds: what is
/// easily seen nearby is known best by that one on its own.
void choose_context(const TrainingTask& task, Networks& networks);

}  // namespace telvar::segmenter
