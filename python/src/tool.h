// One tool of the library, used by one thread at a time and without the GIL.
#pragma once

#include <TelvarTypes/IWrapperFactory.h>
#include <pybind11/pybind11.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace telvar_python {

// A new factory of the library.
std::shared_ptr<Orbalt::TelvarWrapper::Types::IWrapperFactory> make_factory();

template <class Interface>
class Tool {
 public:
  explicit Tool(std::shared_ptr<Interface> tool) : tool_(std::move(tool)) {}

  // Gives `use` the tool, without the GIL. Other threads' calls are waited for; a call out of a
  // loader of this very tool would wait for itself and throws std::runtime_error.
  template <class Use>
  auto run(Use&& use) {
    if (user_ == std::this_thread::get_id()) {
      throw std::runtime_error("the tool cannot be used by its own image loader");
    }
    pybind11::gil_scoped_release no_gil;
    const std::lock_guard<std::mutex> turn(turn_);
    const Mark mark(user_);
    return use(*tool_);
  }

 private:
  struct Mark {
    explicit Mark(std::atomic<std::thread::id>& marked) : user(marked) {
      user = std::this_thread::get_id();
    }
    ~Mark() { user = std::thread::id(); }
    std::atomic<std::thread::id>& user;
  };

  std::shared_ptr<Interface> tool_;
  std::mutex turn_;
  std::atomic<std::thread::id> user_{std::thread::id()};
};

// Each adds the class of its tool.
void add_ocr(pybind11::module_& module);
void add_classifier(pybind11::module_& module);
void add_segmenter(pybind11::module_& module);

}  // namespace telvar_python
