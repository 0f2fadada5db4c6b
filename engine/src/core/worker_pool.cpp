#include "core/worker_pool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "core/library_threads.h"

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace telvar::core {
namespace {

#if defined(_WIN32)
int this_process() {
  return 0;
}
#else
pid_t this_process() {
  return getpid();
}
#endif

struct Job {
  Job(int chunk_count, const std::function<void(int)>& chunk_work)
      : work(chunk_work), chunks(chunk_count) {}

  const std::function<void(int)>& work;
  int chunks;
  int next = 0;
  int running = 0;
  int failed_chunk = -1;
  std::exception_ptr error;
};

}  // namespace

class WorkerPool::Impl {
 public:
  explicit Impl(unsigned threads) {
    threads = std::min(threads == 0 ? available_cores() : threads, kMaxPoolThreads);
    workers_.reserve(threads);
    try {
      for (unsigned i = 1; i < threads; ++i) workers_.emplace_back([this] { serve(); });
    } catch (const std::system_error&) {
      // The system has no more threads: those that there are share the work.
    } catch (...) {
      stop();  // A thread that is destroyed before it is joined would end the process.
      throw;
    }
  }

  ~Impl() { stop(); }

  /// Whether this process is a copy, made by fork, of the one that has the threads. Nothing but
  /// the work itself may then be touched: the mutex and the conditions may be held or waited for
  /// by threads that do not exist here.
  bool is_copy() const { return process_ != this_process(); }

  /// Keeps a copy, which cannot be destroyed, where leak checkers find it.
  static void abandon(std::unique_ptr<Impl> copy) noexcept {
    static std::atomic<Impl*> abandoned{nullptr};
    Impl* const kept = copy.release();
    kept->next_abandoned_ = abandoned.load();
    while (!abandoned.compare_exchange_weak(kept->next_abandoned_, kept)) {
    }
  }

  unsigned threads() const { return static_cast<unsigned>(workers_.size()) + 1; }

  void run(int chunks, const std::function<void(int)>& work) {
    const LibraryThreadScope scope;
    if (is_copy()) {
      for (int chunk = 0; chunk < chunks; ++chunk) work(chunk);
      return;
    }
    Job job(chunks, work);
    std::unique_lock<std::mutex> lock(mutex_);
    if (chunks > 1 && !workers_.empty()) {
      jobs_.push_back(&job);
      wake_.notify_all();
    }
    while (job.next < job.chunks) run_chunk(job, lock);
    jobs_.erase(std::remove(jobs_.begin(), jobs_.end(), &job), jobs_.end());
    done_.wait(lock, [&job] { return job.running == 0; });
    if (job.error) std::rethrow_exception(job.error);
  }

 private:
  void stop() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& worker : workers_) worker.join();
  }

  void serve() try {
    const LibraryThreadScope scope;
    serve_in_scope();
  } catch (const std::bad_alloc&) {
    // There is no memory for the scope: the other threads do the work.
  }

  void serve_in_scope() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
      wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      if (stopping_) return;
      run_chunk(*jobs_.front(), lock);
    }
  }

  /// Takes the job's next chunk and runs it with the mutex released. Once none is left, the job is
  /// no longer offered to the workers.
  void run_chunk(Job& job, std::unique_lock<std::mutex>& lock) {
    const int chunk = job.next++;
    ++job.running;
    if (job.next >= job.chunks) {
      jobs_.erase(std::remove(jobs_.begin(), jobs_.end(), &job), jobs_.end());
    }
    lock.unlock();
    std::exception_ptr error;
    try {
      job.work(chunk);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    if (error) fail(job, chunk, error);
    if (--job.running == 0) done_.notify_all();
  }

  // Lower chunks have begun before higher ones and are waited for, so the chunk that is reported
  // does not depend on the number of threads.
  void fail(Job& job, int chunk, const std::exception_ptr& error) {
    if (job.failed_chunk < 0 || chunk < job.failed_chunk) {
      job.failed_chunk = chunk;
      job.error = error;
    }
    job.next = job.chunks;
    jobs_.erase(std::remove(jobs_.begin(), jobs_.end(), &job), jobs_.end());
  }

  decltype(this_process()) process_ = this_process();
  Impl* next_abandoned_ = nullptr;
  std::mutex mutex_;
  std::condition_variable wake_, done_;
  std::deque<Job*> jobs_;
  bool stopping_ = false;
  std::vector<std::thread> workers_;
};

WorkerPool::WorkerPool(unsigned threads) : impl_(std::make_unique<Impl>(threads)) {}

WorkerPool::~WorkerPool() {
  if (impl_->is_copy()) Impl::abandon(std::move(impl_));
}

unsigned WorkerPool::threads() const {
  return impl_->threads();
}

void WorkerPool::run(int chunks, const std::function<void(int)>& work) {
  impl_->run(chunks, work);
}

}  // namespace telvar::core
