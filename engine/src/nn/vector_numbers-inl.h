// Vectors of floats, read from and written to either kind of number. A file that Highway compiles
// once for every instruction set includes this one as often, so `#pragma once` would be wrong.

#if defined(TELVAR_NN_VECTOR_NUMBERS) == defined(HWY_TARGET_TOGGLE)
#ifdef TELVAR_NN_VECTOR_NUMBERS
#undef TELVAR_NN_VECTOR_NUMBERS
#else
#define TELVAR_NN_VECTOR_NUMBERS
#endif

#include <hwy/highway.h>

#include "nn/number.h"

HWY_BEFORE_NAMESPACE();
namespace telvar::nn::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// As many values as a vector of floats has lanes.
template <class Floats>
HWY_INLINE hn::Vec<Floats> load(Floats d, const float* from) {
  return hn::LoadU(d, from);
}
template <class Floats>
HWY_INLINE void store(Floats d, hn::Vec<Floats> values, float* to) {
  hn::StoreU(values, d, to);
}
template <class Floats>
HWY_INLINE hn::Vec<Floats> load(Floats d, const bfloat16* from) {
  const hn::Rebind<bfloat16, Floats> d16;
  const hn::RebindToUnsigned<Floats> d32;
  return hn::BitCast(d, hn::ShiftLeft<16>(hn::PromoteTo(d32, hn::LoadU(d16, from))));
}
/// Rounds as to_bfloat16() does.
template <class Floats>
HWY_INLINE void store(Floats, hn::Vec<Floats> values, bfloat16* to) {
  const hn::Rebind<bfloat16, Floats> d16;
  const hn::RebindToUnsigned<Floats> d32;
  const hn::RebindToSigned<Floats> signed32;
  const auto bits = hn::BitCast(d32, values);
  const auto odd = hn::And(hn::ShiftRight<16>(bits), hn::Set(d32, 1));
  const auto rounded = hn::ShiftRight<16>(hn::Add(bits, hn::Add(odd, hn::Set(d32, 0x7FFF))));
  hn::StoreU(hn::DemoteTo(d16, hn::BitCast(signed32, rounded)), d16, to);
}

}  // namespace telvar::nn::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
