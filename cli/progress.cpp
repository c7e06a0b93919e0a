#include "progress.hpp"

#include <atomic>
#include <chrono>
#include <system_error>

#include <unistd.h>

namespace plexa_cli {

namespace {

// The progress shown on a terminal, for clear_line: one command runs at a
// time.
std::atomic<progress*> current{nullptr};

}  // namespace

void progress::clear_line(std::FILE* err) {
  progress* p = current.load();
  if (!p || p->err_ != err) return;
  std::lock_guard<std::mutex> hold(p->lock_);
  if (p->shown_) std::fputs("\r\033[K", err);
  p->shown_ = false;
  p->step_ = nullptr;
}

progress::progress(std::FILE* err, const char* command) : err_(err), command_(command) {
  const int fd = err ? fileno(err) : -1;
  if (fd < 0 || !isatty(fd)) return;
  try {
    timer_ = std::thread([this] {
      std::unique_lock<std::mutex> hold(lock_);
      if (wake_.wait_for(hold, std::chrono::seconds(1), [this] { return done_; })) return;
      visible_ = true;
      show();
    });
    current.store(this);
  } catch (const std::system_error&) {
    // No progress without a thread; the command runs all the same.
  }
}

progress::~progress() { done(); }

void progress::done() {
  if (!timer_.joinable()) return;
  progress* self = this;
  current.compare_exchange_strong(self, nullptr);
  {
    std::lock_guard<std::mutex> hold(lock_);
    done_ = true;
    if (shown_) std::fputs("\r\033[K", err_);
  }
  wake_.notify_all();
  timer_.join();
}

void progress::step(const char* what) {
  if (!timer_.joinable()) return;
  std::lock_guard<std::mutex> hold(lock_);
  step_ = what;
  if (visible_) show();
}

void progress::show() {
  if (!step_) return;
  std::fprintf(err_, "\r\033[Kplexa %s: %s...", command_, step_);
  std::fflush(err_);
  shown_ = true;
}

}  // namespace plexa_cli
