// Progress of a command's long steps on the standard error, shown only when
// it is a terminal (never in a pipe, a file or a test), and only once the
// command has run for about a second: the current step on a single line,
// each step replacing the previous one, cleared when the command ends.
#pragma once

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

namespace plexa_cli {

class progress {
 public:
  // `command` names the command in the line ("plexa check: merging nodes...").
  progress(std::FILE* err, const char* command);
  ~progress();
  progress(const progress&) = delete;
  progress& operator=(const progress&) = delete;

  // Starts the step `what` (a literal: it is kept, not copied).
  void step(const char* what);
  // Ends the progress, clearing its line, before the command prints its
  // results (the destructor does it too).
  void done();

  // Clears the progress line shown on `err`, if any, so that a message can
  // take its place (the diagnostics call it before writing).
  static void clear_line(std::FILE* err);

 private:
  void show();  // with the lock held

  std::FILE* err_;
  const char* command_;
  const char* step_ = nullptr;
  bool visible_ = false;  // past the quiet time: steps are shown as they start
  bool shown_ = false;    // a line is on the terminal
  bool done_ = false;
  std::mutex lock_;
  std::condition_variable wake_;
  std::thread timer_;  // only on a terminal
};

}  // namespace plexa_cli
