#include "json.hpp"

#include <cmath>

#include "format.hpp"

namespace plexa_cli {

void json_writer::element(const char* key) {
  if (!first_.empty()) {
    if (first_.back() == '0') std::fputs(", ", out_);
    first_.back() = '0';
  }
  if (key) {
    quoted(key);
    std::fputs(": ", out_);
  }
}

void json_writer::open(const char* key, char bracket) {
  element(key);
  std::fputc(bracket, out_);
  first_.push_back('1');
}

void json_writer::close(char bracket) {
  first_.pop_back();
  std::fputc(bracket, out_);
}

void json_writer::quoted(const char* text) {
  std::fputc('"', out_);
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
    if (*p == '"' || *p == '\\')
      std::fprintf(out_, "\\%c", *p);
    else if (*p < 0x20)
      std::fprintf(out_, "\\u%04x", *p);
    else
      std::fputc(*p, out_);
  }
  std::fputc('"', out_);
}

void json_writer::number(const char* key, double value) {
  element(key);
  if (!std::isfinite(value)) {
    std::fputs("null", out_);
    return;
  }
  std::fputs(format_number(value).text, out_);
}

void json_writer::count(const char* key, unsigned long long value) {
  element(key);
  std::fprintf(out_, "%llu", value);
}

void json_writer::text(const char* key, const char* value) {
  element(key);
  quoted(value);
}

void json_writer::boolean(const char* key, bool value) {
  element(key);
  std::fputs(value ? "true" : "false", out_);
}

void json_writer::null(const char* key) {
  element(key);
  std::fputs("null", out_);
}

void json_writer::histogram(const char* key, const zeb::misc::histogram& h) {
  begin_object(key);
  count("count", h.count());
  count("nan", h.nan_count());
  number("min", h.min());
  number("max", h.max());
  number("mean", h.mean());
  begin_array("bins");
  for (std::size_t k = 0; k < h.bin_count(); ++k) {
    begin_object();
    if (k == 0)
      null("from");
    else
      number("from", h.edge(k - 1));
    if (k == h.edge_count())
      null("to");
    else
      number("to", h.edge(k));
    count("count", h.bin(k));
    end_object();
  }
  end_array();
  end_object();
}

}  // namespace plexa_cli
