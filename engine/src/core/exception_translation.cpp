#include "core/exception_translation.h"

#include <c10/util/Exception.h>

#include <dnnl.hpp>
#include <exception>
#include <new>
#include <string>

#include "telvar/exceptions.h"

namespace telvar::core {
namespace {

/// One of a library that we use too, but thrown by the host.
struct HostException {
  std::exception_ptr error;
};

std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace

void rethrow_translated(const char* activity) {
  try {
    throw;
  } catch (const HostException& host) {
    std::rethrow_exception(host.error);
  } catch (const c10::Error& error) {
    const std::string text = error.what_without_backtrace();
    // The tensor library's allocator has no type of its own for running out of memory.
    if (text.find("DefaultCPUAllocator: ") != std::string::npos) throw std::bad_alloc();
    throw types::exception(std::string(activity) + ": " + first_line(text));
  } catch (const dnnl::error& error) {
    if (error.status == dnnl_out_of_memory) throw std::bad_alloc();
    throw types::exception(std::string(activity) + ": oneDNN: " + first_line(error.what()));
  }
}

void rethrow_passing() {
  try {
    throw;
  } catch (const c10::Error&) {
    throw HostException{std::current_exception()};
  } catch (const dnnl::error&) {
    throw HostException{std::current_exception()};
  }
}

}  // namespace telvar::core
