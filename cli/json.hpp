// JSON output of the commands (--json): one object on the standard output,
// keys in a fixed order, numbers in the shortest text that reads back as the
// same double (independent of the locale), non-finite numbers as null.
#pragma once

#include <cstdio>
#include <string>

#include <zeb/misc/histogram.hpp>

namespace plexa_cli {

class json_writer {
 public:
  explicit json_writer(std::FILE* out) : out_(out) {}

  // Containers: a key is given inside an object, none inside an array.
  void begin_object(const char* key = nullptr) { open(key, '{'); }
  void end_object() { close('}'); }
  void begin_array(const char* key = nullptr) { open(key, '['); }
  void end_array() { close(']'); }

  void number(const char* key, double value);
  void count(const char* key, unsigned long long value);
  void text(const char* key, const char* value);
  void text(const char* key, const std::string& value) { text(key, value.c_str()); }
  void boolean(const char* key, bool value);
  void null(const char* key);

  // A histogram: {"count", "nan", "min", "max", "mean", "bins": [{"from",
  // "to", "count"}]}, the bins as zeb::misc::histogram holds them, "from" of
  // the first and "to" of the last null (no bound).
  void histogram(const char* key, const zeb::misc::histogram& h);

  // Array elements.
  void number(double value) { number(nullptr, value); }
  void count(unsigned long long value) { count(nullptr, value); }

  // Ends the top-level object's line.
  void finish() { std::fputc('\n', out_); }

 private:
  void open(const char* key, char bracket);
  void close(char bracket);
  void element(const char* key);  // the separator and the key of the next element
  void quoted(const char* text);

  std::FILE* out_;
  std::string first_;  // one flag per open container: '1' while it is empty
};

}  // namespace plexa_cli
