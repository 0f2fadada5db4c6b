#include "core/loading.h"

#include <typeinfo>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

/// To be called inside a catch block for `refusal`.
template <class Exception>
[[noreturn]] void rethrow_named(const Exception& refusal, const std::string& subject) {
  if (typeid(refusal) != typeid(Exception)) throw;
  throw Exception(subject + ": " + refusal.what());
}

}  // namespace

types::Image load_image(const types::ImageLoader& loader, const std::string& image_id,
                        const std::string& subject) {
  try {
    return loader(image_id);
  } catch (const types::invalid_image& refusal) {
    rethrow_named(refusal, subject);
  } catch (const types::invalid_image_size& refusal) {
    rethrow_named(refusal, subject);
  }
}

}  // namespace telvar::core
