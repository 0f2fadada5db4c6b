#pragma once

// Keeps the numeric libraries on the calling thread, and computing in the default way.

#include <functional>
#include <optional>
#include <utility>

#include "telvar_numeric/default_mode.h"

namespace telvar::core {

/// While it lives, OpenMP work of the calling thread stays on that thread, and numbers are computed
/// in the default mode, whatever the host or the environment set. Restores both. Put one around
/// everything that is called from outside and uses networks, and pass the host's callbacks through
/// in_host_mode.
class LibraryThreadScope {
 public:
  /// Throws std::bad_alloc.
  LibraryThreadScope();
  LibraryThreadScope(const LibraryThreadScope&) = delete;
  LibraryThreadScope& operator=(const LibraryThreadScope&) = delete;
  ~LibraryThreadScope() { leave(); }

  /// `callback`, called as if the scope did not exist. What it changes of the thread's mode is the
  /// host's mode from then on. Must not outlive the scope.
  template <class Result, class... Arguments>
  std::function<Result(Arguments...)> in_host_mode(
      const std::function<Result(Arguments...)>& callback) {
    return [this, &callback](Arguments... arguments) -> Result {
      const Outside outside(*this);
      return callback(std::forward<Arguments>(arguments)...);
    };
  }

 private:
  class Outside {
   public:
    explicit Outside(LibraryThreadScope& scope) : scope_(scope) { scope_.leave(); }
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;
    ~Outside() { scope_.enter(); }

   private:
    LibraryThreadScope& scope_;
  };

  void enter() noexcept;
  void leave() noexcept;

  int threads_ = 0;
  std::optional<numeric::DefaultMode> mode_;
};

}  // namespace telvar::core
