#include "options.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <new>

namespace plexa_cli {

namespace {

// The option that `arg` names ("--name", "--name=value", "-n"), or -1;
// `inline_value` is set to the text after '=' of a long option.
int find_option(const option_info* known, int count, const char* arg, const char*& inline_value) {
  inline_value = nullptr;
  if (arg[1] == '-') {
    const char* equals = std::strchr(arg, '=');
    const std::size_t length = equals ? std::size_t(equals - arg) : std::strlen(arg);
    for (int k = 0; k < count; ++k)
      if (std::strlen(known[k].name) == length && std::strncmp(known[k].name, arg, length) == 0) {
        if (equals) inline_value = equals + 1;
        return k;
      }
    return -1;
  }
  for (int k = 0; k < count; ++k)
    if (known[k].short_name != '\0' && arg[1] == known[k].short_name && arg[2] == '\0') return k;
  return -1;
}

// Whether `arg` is an option word rather than a positional one: "-" alone
// and negative numbers are positional.
bool is_option_word(const char* arg) {
  if (arg[0] != '-' || arg[1] == '\0') return false;
  return !(arg[1] >= '0' && arg[1] <= '9') && arg[1] != '.';
}

}  // namespace

const char* parsed_arguments::value(int option) const {
  const char* found = nullptr;
  for (const option_use& use : options)
    if (use.option == option) found = use.value ? use.value : "";
  return found;
}

bool parsed_arguments::has(int option) const { return value(option) != nullptr; }

int parse_arguments(const invocation& call, const option_info* known, int count, unsigned max_positionals,
                    parsed_arguments& args) {
  args = parsed_arguments();
  bool options_ended = false;
  try {
    for (int k = 0; k < call.argc; ++k) {
      const char* arg = call.argv[k];
      if (options_ended || !is_option_word(arg)) {
        if (args.positionals.size() == max_positionals) return usage_error(call, "unexpected argument '%s'", arg);
        args.positionals.push_back(arg);
        continue;
      }
      if (std::strcmp(arg, "--") == 0) {
        options_ended = true;
        continue;
      }
      const char* value;
      const int option = find_option(known, count, arg, value);
      if (option < 0) return usage_error(call, "unknown option '%s'", arg);
      const option_info& s = known[option];
      if (!s.value_name && value) return usage_error(call, "option '%s' takes no value", s.name);
      if (s.value_name && !value) {
        if (++k == call.argc) return usage_error(call, "missing %s after '%s'", s.value_name, arg);
        value = call.argv[k];
      }
      if (!s.repeatable && args.has(option)) return usage_error(call, "option '%s' given twice", s.name);
      args.options.push_back({option, value});
    }
  } catch (const std::bad_alloc&) {
    return failure(call, "out of memory");
  }
  return EXIT_OK;
}

bool parse_double(const char* text, double& value) {
  const char* end = text + std::strlen(text);
  if (text != end && *text == '+') ++text;  // from_chars takes no leading plus
  const auto r = std::from_chars(text, end, value);
  return r.ec == std::errc() && r.ptr == end && std::isfinite(value);
}

bool parse_count(const char* text, unsigned max, unsigned& value) {
  const char* end = text + std::strlen(text);
  unsigned v = 0;
  const auto r = std::from_chars(text, end, v);
  if (r.ec != std::errc() || r.ptr != end || v > max) return false;
  value = v;
  return true;
}

}  // namespace plexa_cli
