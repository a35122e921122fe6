// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/VersionText.h"

#include "decoder/LoopForm.h"
#include "multi_driver/Version.h"

namespace orliq::cli {
namespace {

std::string Dotted(int major, int minor, int patch) {
  return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

std::string Compiler() {
#ifdef __clang__
  return "clang++ " + Dotted(__clang_major__, __clang_minor__, __clang_patchlevel__);
#else
  return "g++ " + Dotted(__GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
}

}  // namespace

std::string VersionText() {
  return "orliq " ORLIQ_VERSION "\nCompiler         " + Compiler() + "\nInstruction set  " +
         lidar::LoopForm::Name();
}

}  // namespace orliq::cli
