// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewCommand.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace orliq::cli {
namespace {

using Json = nlohmann::json;

/// The member of that name, if it is a whole number in the range.
std::optional<std::int64_t> Whole(const Json& json, const char* name, std::int64_t min,
                                  std::int64_t max) {
  const auto found = json.find(name);
  if (found == json.end() || !found->is_number_integer()) return std::nullopt;
  if (found->is_number_unsigned() &&
      found->get<std::uint64_t>() > static_cast<std::uint64_t>(max)) {
    return std::nullopt;
  }
  const auto number = found->get<std::int64_t>();
  if (number < min || number > max) return std::nullopt;
  return number;
}

std::optional<ViewCommand> ParseShown(const Json& json) {
  const auto frame = Whole(json, "frame", 0, std::numeric_limits<std::int64_t>::max());
  if (!frame) return std::nullopt;
  return FrameShown{static_cast<std::uint64_t>(*frame)};
}

std::optional<ViewCommand> ParseStep(const Json& json) {
  const auto by = Whole(json, "by", -1, 1);
  if (!by || *by == 0) return std::nullopt;
  return PlayerCommand(StepFrames{static_cast<int>(*by)});
}

std::optional<ViewCommand> ParseSeek(const Json& json) {
  const auto entry = Whole(json, "entry", 0, std::numeric_limits<int>::max());
  if (!entry) return std::nullopt;
  return PlayerCommand(SeekFrame{static_cast<int>(*entry)});
}

std::optional<ViewCommand> ParseSpeed(const Json& json) {
  const auto found = json.find("factor");
  if (found == json.end() || !found->is_number()) return std::nullopt;
  const auto factor = found->get<double>();
  if (!(factor >= kSlowest && factor <= kFastest)) return std::nullopt;
  return PlayerCommand(SetSpeed{factor});
}

std::optional<ViewCommand> ParseLoop(const Json& json) {
  const auto found = json.find("on");
  if (found == json.end() || !found->is_boolean()) return std::nullopt;
  return PlayerCommand(SetLoop{found->get<bool>()});
}

/// Brackets in brackets make the parser work for nothing: no command has any but the outer ones.
bool IsNested(std::string_view text) {
  return text.find('[') != std::string_view::npos || text.find('{', 1) != std::string_view::npos;
}

}  // namespace

std::optional<ViewCommand> ParseCommand(std::string_view text) {
  if (IsNested(text)) return std::nullopt;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object() || !json.contains("do") || !json["do"].is_string()) return std::nullopt;
  const auto& what = json["do"].get_ref<const std::string&>();
  if (what == "shown") return ParseShown(json);
  if (what == "play") return PlayerCommand(SetPlaying{true});
  if (what == "pause") return PlayerCommand(SetPlaying{false});
  if (what == "step") return ParseStep(json);
  if (what == "seek") return ParseSeek(json);
  if (what == "speed") return ParseSpeed(json);
  if (what == "loop") return ParseLoop(json);
  return std::nullopt;
}

}  // namespace orliq::cli
