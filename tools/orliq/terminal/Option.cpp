// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Option.h"

#include <arpa/inet.h>

#include <CLI/Option.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <system_error>

// Checks keep their text out of the help, which is easier to read without it.
namespace orliq::cli {
namespace {

template <typename Number>
std::string FaultOutside(Number min, Number max, const std::string& text) {
  Number number = 0;
  const bool good = CLI::detail::lexical_cast(text, number) && number >= min && number <= max;
  std::ostringstream range;
  range << "must be from " << min << " to " << max << ", not " << text;
  return good ? std::string() : range.str();
}

std::string FaultUnlessFinite(const std::string& text) {
  float number = 0.0F;
  const bool good = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
  return good ? std::string() : text + " is not a finite number";
}

std::string FaultUnlessWhole(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, number);
  const bool good = fault == std::errc() && stop == end;
  return good ? std::string() : "must be a whole number of at most 64 bits, not " + text;
}

std::string FaultIfEmpty(const std::string& text) {
  return text.empty() ? std::string("an empty name is no file or folder") : std::string();
}

std::string FaultUnlessHost(const std::string& text) {
  in_addr address = {};
  const bool good = ::inet_pton(AF_INET, text.c_str(), &address) == 1 && address.s_addr != 0;
  return good ? std::string()
              : "must be an IPv4 address of a host, such as 192.168.1.200, not \"" + text + '"';
}

}  // namespace

Option Option::Check(const std::function<std::string(const std::string&)>& fault) const {
  option_->check(fault);
  return *this;
}

Option Option::Within(int min, int max) const {
  return Check([min, max](const std::string& text) { return FaultOutside(min, max, text); });
}

Option Option::Within(double min, double max) const {
  return Check([min, max](const std::string& text) { return FaultOutside(min, max, text); });
}

Option Option::Finite() const {
  return Check(FaultUnlessFinite);
}

Option Option::WholeNumber() const {
  return Check(FaultUnlessWhole);
}

Option Option::NotEmpty() const {
  return Check(FaultIfEmpty);
}

Option Option::HostAddress() const {
  return Check(FaultUnlessHost);
}

Option Option::Address() const {
  option_->check(CLI::ValidIPV4);
  return *this;
}

Option Option::OneOf(const std::vector<std::string>& words) const {
  option_->check(CLI::IsMember(words));
  return *this;
}

Option Option::OneOf(std::initializer_list<int> numbers) const {
  option_->check(CLI::IsMember(numbers));
  return *this;
}

Option Option::LowerCase() const {
  const auto change = [](std::string& text) {
    text = CLI::detail::to_lower(text);
    return std::string();
  };
  option_->transform(CLI::Validator(change, ""));
  return *this;
}

Option Option::Values(int count) const {
  option_->delimiter(',')->expected(count);
  return *this;
}

Option Option::OneValueEach() const {
  option_->allow_extra_args(false);
  return *this;
}

Option Option::Required(bool required) const {
  option_->required(required);
  return *this;
}

Option Option::ShowDefault() const {
  option_->capture_default_str();
  return *this;
}

Option Option::Group(const std::string& heading) const {
  option_->group(heading);
  return *this;
}

Option Option::Needs(const Option& other) const {
  option_->needs(other.option_);
  return *this;
}

Option Option::Excludes(const Option& other) const {
  option_->excludes(other.option_);
  return *this;
}

bool IsWithin(const std::string& text, int min, int max) {
  return FaultOutside(min, max, text).empty();
}

}  // namespace orliq::cli
