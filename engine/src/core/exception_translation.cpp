#include "core/exception_translation.h"

#include <c10/util/Exception.h>

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <typeinfo>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

/// True for dnnl::error. The tensor library is built with it, but does not bring its declaration;
/// all other exceptions may be the host's own, thrown by what it has us call.
bool is_from_onednn(const std::exception& error) {
  const std::string_view mangled = typeid(error).name();
  return mangled == "N4dnnl5errorE";
}

}  // namespace

void rethrow_translated(const char* activity) {
  try {
    throw;
  } catch (const c10::Error& error) {
    const std::string text = error.what_without_backtrace();
    // The tensor library's allocator has no type of its own for running out of memory.
    if (text.find("DefaultCPUAllocator: ") != std::string::npos) throw std::bad_alloc();
    throw types::exception(std::string(activity) + ": " + first_line(text));
  } catch (const std::exception& error) {
    if (!is_from_onednn(error)) throw;
    throw types::exception(std::string(activity) + ": oneDNN: " + first_line(error.what()));
  }
}

}  // namespace telvar::core
