// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/YamlTree.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <system_error>

#include "orliq/terminal/PlainText.h"

#ifdef ORLIQ_HAS_YAML
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>
#endif

namespace orliq::cli {

Failure FailureAt(const std::string& path, int line, const std::string& why) {
  return {ExitCode::kUsage, path + ':' + std::to_string(line) + ": " + why};
}

#ifdef ORLIQ_HAS_YAML

namespace {

constexpr std::size_t kMaxBytes = 1U << 20U;  // 256 sensors with every key take a tenth
constexpr std::size_t kMaxDepth = 32;         // the keys of a sensor need 4

// Ends the document. The parser would take quotes that nothing closes for closed at the end of file.
constexpr char kEnd[] = "\n...\n";

[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& why) {
  throw Failure(ExitCode::kFileFault, "cannot read " + path + ": " + why);
}

std::string ReadWhole(const std::string& path) {
  std::error_code ignored;  // what cannot be looked at cannot be opened
  const auto status = std::filesystem::status(path, ignored);
  // Nothing may ever come out of a pipe or a terminal.
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    ThrowUnreadable(path, "it is not a regular file");
  }
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "rb"),
                                                                &std::fclose);
  if (!file) ThrowUnreadable(path, std::generic_category().message(errno));
  std::string text(kMaxBytes + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0) {
    ThrowUnreadable(path, std::generic_category().message(errno));
  }
  if (text.size() > kMaxBytes) ThrowUnreadable(path, "it is larger than 1 MiB");
  return text;
}

/// The line of a place in the text, from 1.
int LineOf(const std::string& text, std::string::const_iterator at) {
  return 1 + static_cast<int>(std::count(text.begin(), at, '\n'));
}

/// The parser takes some control characters for the end of the file.
void RequireText(const std::string& path, const std::string& text) {
  const auto is_control = [](char byte) {
    const bool space = byte == '\n' || byte == '\r' || byte == '\t';
    return (static_cast<unsigned char>(byte) < 0x20 && !space) || byte == 0x7F;
  };
  const auto at = std::find_if(text.begin(), text.end(), is_control);
  if (at == text.end()) return;
  throw FailureAt(path, LineOf(text, at), "a control character: the file is no YAML text");
}

class TreeBuilder final : public YAML::EventHandler {
 public:
  TreeBuilder(const std::string& path, int last_line, std::deque<YamlNode>& nodes)
      : path_(path), last_line_(last_line), nodes_(nodes) {}

  const YamlNode* Root() const { return root_; }

  /// What the parser says about a file that it does not understand.
  Failure SyntaxFailure(const YAML::Exception& fault) const {
    const bool misled = fault.mark.line >= last_line_;  // by kEnd
    std::string why = misled ? "the file ends within quotes, brackets or braces" : fault.msg;
    if (why.rfind("illegal", 0) == 0 || why.rfind("end of", 0) == 0) {
      why += " (check the indentation, by spaces, the quotes and the brackets)";
    }
    return FailureAt(path_, Line(fault.mark), "no valid YAML: " + PlainText(why));
  }

  void OnDocumentStart(const YAML::Mark& mark) override {
    if (root_ != nullptr) Refuse(mark, "a second document begins: one file describes one robot");
  }
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override {
    Add(YamlNode::Kind::kNothing, mark, "", anchor);
  }
  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                const std::string& value) override {
    YamlNode& node = Add(YamlNode::Kind::kText, mark, tag, anchor);
    node.text = value;
    node.quoted = tag == "!";
  }
  void OnSequenceStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value /*style*/) override {
    Open(Add(YamlNode::Kind::kList, mark, tag, anchor), mark);
  }
  void OnSequenceEnd() override { open_.pop_back(); }
  void OnMapStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value /*style*/) override {
    Open(Add(YamlNode::Kind::kMapping, mark, tag, anchor), mark);
  }
  void OnMapEnd() override { open_.pop_back(); }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override {
    const YamlNode* const node = anchors_[anchor];
    if (std::find(open_.begin(), open_.end(), node) != open_.end()) {
      Refuse(mark, "an alias of what it stands in has no end");
    }
    Put(node);
  }

 private:
  [[noreturn]] void Refuse(const YAML::Mark& mark, const std::string& why) const {
    throw FailureAt(path_, Line(mark), why);
  }

  /// From 1; what kEnd brings about is of the last line of the file.
  int Line(const YAML::Mark& mark) const { return std::min(mark.line + 1, last_line_); }

  YamlNode& Add(YamlNode::Kind kind, const YAML::Mark& mark, const std::string& tag,
                YAML::anchor_t anchor) {
    // "?" and "!" are what the parser gives to plain and quoted text without a tag.
    if (!tag.empty() && tag != "?" && tag != "!") {
      Refuse(mark, "tags are not taken: write the value without " + PlainText(tag));
    }
    YamlNode& node = nodes_.emplace_back();
    node.kind = kind;
    node.line = Line(mark);
    if (anchor != YAML::NullAnchor) anchors_[anchor] = &node;
    Put(&node);
    return node;
  }

  void Put(const YamlNode* node) {
    if (open_.empty()) {
      root_ = node;
    } else {
      open_.back()->items.push_back(node);
    }
  }

  void Open(YamlNode& node, const YAML::Mark& mark) {
    if (open_.size() == kMaxDepth) Refuse(mark, "lists and mappings are nested too deeply");
    open_.push_back(&node);
  }

  const std::string& path_;
  const int last_line_;
  std::deque<YamlNode>& nodes_;
  const YamlNode* root_ = nullptr;
  std::vector<YamlNode*> open_;  // the lists and mappings that the parser is in
  std::map<YAML::anchor_t, const YamlNode*> anchors_;
};

}  // namespace

YamlTree::YamlTree(const std::string& path) : root_(&nodes_.emplace_back()) {
  const std::string text = ReadWhole(path);
  RequireText(path, text);
  std::istringstream stream(text + kEnd);
  TreeBuilder builder(path, LineOf(text, text.end() - (text.empty() ? 0 : 1)), nodes_);
  try {
    YAML::Parser parser(stream);
    while (parser.HandleNextDocument(builder)) {
    }
  } catch (const YAML::Exception& fault) {
    throw builder.SyntaxFailure(fault);
  }
  if (builder.Root() != nullptr) root_ = builder.Root();
}

#else

YamlTree::YamlTree(const std::string& path) : root_(nullptr) {
  throw Failure(ExitCode::kUsage,
                "cannot read " + path + ": this orliq was built without libyaml-cpp-dev");
}

#endif

}  // namespace orliq::cli
