// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/Png.h"

#include "orliq/terminal/ExitCode.h"

#ifdef ORLIQ_HAS_PNG
#include <png.h>
#endif

namespace orliq::cli {

#ifdef ORLIQ_HAS_PNG

bool CanWritePng() {
  return true;
}

std::string IndexedPng(std::size_t width, const std::vector<std::uint8_t>& pixels,
                       const Palette& palette) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(pixels.size() / width);
  image.format = PNG_FORMAT_RGB_COLORMAP;
  image.colormap_entries = static_cast<png_uint_32>(palette.size());
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string file(size, '\0');
  if (png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), 0, palette.data()) ==
      0) {
    throw Failure(ExitCode::kInternalFault, std::string("no picture: ") + image.message);
  }
  file.resize(size);
  return file;
}

#else

bool CanWritePng() {
  return false;
}

std::string IndexedPng(std::size_t /*width*/, const std::vector<std::uint8_t>& /*pixels*/,
                       const Palette& /*palette*/) {
  throw Failure(ExitCode::kUsage, "this orliq draws no pictures: it was built without libpng");
}

#endif

}  // namespace orliq::cli
