#include "progress.hpp"

#include <chrono>
#include <system_error>

#include <unistd.h>

namespace plexa_cli {

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
  } catch (const std::system_error&) {
    // No progress without a thread; the command runs all the same.
  }
}

progress::~progress() {
  if (!timer_.joinable()) return;
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
