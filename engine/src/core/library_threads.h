#pragma once

// Keeps the numeric libraries on the calling thread, and computing in the default way.

#include <functional>
#include <utility>

#include "telvar_numeric/default_mode.h"

namespace telvar::core {

/// What can be set of a thread that numeric libraries go by: OpenMP's number of threads, and how
/// numbers are computed.
class ThreadSettings {
 public:
  /// Takes the settings of the calling thread.
  ThreadSettings() noexcept;
  /// Gives these settings to the calling thread.
  void set() const noexcept;

 private:
  int openmp_threads_;
  numeric::Mode mode_;
};

/// While it lives, OpenMP work of the calling thread stays on that thread, and numbers are computed
/// in the default mode, whatever the host or the environment set. Restores both. Put one around
/// everything that is called from outside and uses networks, and pass the host's callbacks through
/// in_host_mode; around those that other threads call, put an InHostMode.
class LibraryThreadScope {
 public:
  /// Throws std::bad_alloc.
  LibraryThreadScope();
  LibraryThreadScope(const LibraryThreadScope&) = delete;
  LibraryThreadScope& operator=(const LibraryThreadScope&) = delete;
  ~LibraryThreadScope() { leave(); }

  /// While it lives, the calling thread, any but one that is in a callback through in_host_mode, is
  /// set as the host set the scope's. What is changed meanwhile is forgotten.
  class InHostMode {
   public:
    explicit InHostMode(const LibraryThreadScope& scope) noexcept { scope.host_.set(); }
    InHostMode(const InHostMode&) = delete;
    InHostMode& operator=(const InHostMode&) = delete;
    ~InHostMode() { own_.set(); }

   private:
    ThreadSettings own_;
  };

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
  void leave() noexcept { host_.set(); }

  ThreadSettings host_;
};

}  // namespace telvar::core
