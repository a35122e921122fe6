// SPDX-License-Identifier: Apache-2.0
// Runs the program itself on check folders, good and bad.
#include <algorithm>
#include <functional>
#include <map>

#include "orliq/plots/ColourMap.h"
#include "support/Program.h"

#ifdef ORLIQ_HAS_PNG
#include <png.h>
#endif

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;
using Files = std::map<std::string, std::string>;  // name and content

/// A table of 192 lines of 256 numbers.
std::string Beams(const std::function<std::string(int column, int row)>& number) {
  std::string text;
  for (int i = 0; i < 256 * 192; ++i) {
    text += number(i % 256, i / 256) + (i % 256 == 255 ? '\n' : ',');
  }
  return text;
}

std::string Ramp(double step) {
  return Beams([=](int column, int) { return std::to_string((column - 127.5) * step); });
}

/// Azimuths of 0.4 degrees a column, but for one beam.
std::string RampBut(int column, int row, const std::string& number) {
  return Beams([=](int c, int r) {
    return c == column && r == row ? number : std::to_string((c - 127.5) * 0.4);
  });
}

/// The same azimuths, each `by` numbers further on from `first_row` on.
std::string Moved(int by, int first_row = 0) {
  return Beams([=](int column, int row) {
    return std::to_string((row < first_row ? column : (column + 256 - by) % 256) * 0.4 - 51);
  });
}

/// Elevations of 0.2 degrees a row; one row has exactly 0.
std::string Fall(int rows = 192) {
  return Beams([=](int, int row) { return std::to_string(row < rows ? (96 - row) * 0.2 : 0.0); });
}

Files GoodFolder() {
  return {{"azimuth.csv", Ramp(0.4)},
          {"elevation.csv", Fall()},
          {"weight.csv", "a,0.02\nb,0.02\nc,-0.004\nd,0.01\n"},
          {"near_filter.csv", "1500,3,800,0.6,1,0.5,8,0.01,-0.01\n"},
          {"offset.csv", Beams([](int c, int r) { return c % 2 + r % 2 == 0 ? "4.99" : "-5"; })}};
}

class CheckParams : public test::Program {
 protected:
  /// The good folder with changes; a file without content is left out.
  void WriteFolder(const Files& changes) const {
    std::filesystem::remove_all(dir_ / "room");
    std::filesystem::create_directory(dir_ / "room");
    Files files = changes;
    files.merge(GoodFolder());
    for (const auto& [name, text] : files) {
      if (!text.empty()) dir_.Write("room/" + name, text);
    }
  }

  /// Each finding as "table kind beams@first".
  static std::string Findings(const JsonValue& report) {
    std::string text;
    for (const JsonValue& finding : report["findings"].Elements()) {
      text += (text.empty() ? "" : ", ") + finding["table"].Text() + ' ' + finding["kind"].Text();
      if (finding["beams"] == 0) continue;
      text += ' ' + finding["beams"].Dump() + '@' + finding["first_beam"].Dump();
    }
    return text;
  }
};

TEST_F(CheckParams, NamesWhatIsSuspiciousAndNothingElse) {
  const std::string azimuth = "azimuth.csv", elevation = "elevation.csv", offset = "offset.csv";
  const std::string weight = "weight.csv", filter = "near_filter.csv";
  const struct {
    const char* why;
    Files changes;
    std::string findings;
  } rows[] = {
      {"good, with a row of zeros and offsets at their limit", {}, ""},
      {"not a number", {{azimuth, RampBut(17, 5, "nan")}}, "azimuth not_finite 1@1297"},
      {"infinite", {{azimuth, RampBut(255, 191, "1e39")}}, "azimuth not_finite 1@49151"},
      {"90.00 after truncation", {{azimuth, Ramp(90.009 / 127.5)}}, ""},
      {"just beyond 90", {{azimuth, Ramp(90.0101 / 127.5)}}, "azimuth limits 384@0"},
      {"one wrong beam", {{azimuth, RampBut(0, 0, "-48.5")}}, "azimuth lone 1@0"},
      {"not far enough off", {{azimuth, RampBut(9, 9, "-45.5")}}, ""},
      {"two rows of zeros", {{elevation, Fall(191)}}, "elevation zeros 512@24576"},
      {"all the same", {{offset, Beams([](int, int) { return "0"; })}}, "offset constant"},
      {"radians", {{azimuth, Ramp(0.4 / 57.3)}}, "azimuth unit"},
      {"hundredths of a degree", {{azimuth, Ramp(40)}}, "azimuth unit"},
      {"swapped",
       {{azimuth, Fall()}, {elevation, Ramp(0.4)}},
       "azimuth pattern, elevation pattern"},
      {"one table twice", {{elevation, Ramp(0.4)}}, "elevation pattern, elevation twin"},
      {"azimuths as offsets", {{offset, Ramp(0.4)}}, "offset unit, offset twin"},
      {"one wrong offset",
       {{offset, Beams([](int c, int r) { return c + r == 0 ? "-5.01" : "0.01"; })}},
       "offset limits 1@0"},
      {"a heading",
       {{elevation, "up\n" + Fall()}},
       "elevation text, elevation length, elevation lone 1@0"},
      {"shifted by 7", {{azimuth, Moved(7)}}, "azimuth seam"},
      {"its halves exchanged", {{azimuth, Moved(128)}}, "azimuth seam"},
      {"250 numbers twice", {{azimuth, Moved(250, 96)}}, "azimuth stray 576@24826, azimuth seam"},
      {"upper half negated",
       {{elevation, Beams([](int, int r) { return std::to_string(std::abs(r - 95.5) * -0.2); })}},
       "elevation seam"},
      {"a block of zeros",
       {{azimuth, Beams([](int c, int r) {
           return c > 9 && c < 30 && r > 9 && r < 30 ? "0" : std::to_string((c - 127.5) * 0.4);
         })}},
       "azimuth stray 400@2570"},
      {"azimuths at random",
       {{azimuth, Beams([](int c, int r) { return std::to_string((c * 37 + r * 61) % 89 + 1); })}},
       "azimuth pattern"},
      {"no weights", {{weight, "a,0,0,0,0\n"}}, "weight constant"},
      {"a weight that is none", {{weight, "a,1,2,inf,4\n"}}, "weight not_finite"},
      {"half switched on", {{filter, "0,0,0,0,0.5,0.5,2,0,0\n"}}, "near_filter switch"},
      {"nine neighbours", {{filter, "0,0,0,0,1,0.5,9,0,0\n"}}, "near_filter switch"},
      {"no radius", {{filter, "0,0,0,0,1,0,2,0,0\n"}}, "near_filter switch"},
  };
  for (const auto& row : rows) {
    WriteFolder(row.changes);
    const JsonValue report =
        RunJson("check-params room --model juniq", row.findings.empty() ? 0 : 5);
    EXPECT_EQ(Findings(report), row.findings) << row.why;
    EXPECT_TRUE(report["loaded"] == true && report["complete"] == true) << row.why;
  }
}

TEST_F(CheckParams, SaysWhetherTheFolderLoadsAndByWhichRuleNot) {
  const struct {
    const char* model;
    Files changes;
    int code;
    std::string sentence;  // of the failure, or of the report
  } rows[] = {
      {"glavor", {{"offset.csv", ""}}, 0, ""},
      {"glavor", {}, 5, "is the folder that of a juniq"},
      {"juniq", {{"offset.csv", ""}}, 5, "no file is taken for the offset table"},
      {"juniq", {{"azimuth.bak", "1,2"}}, 5, "azimuth.bak holds 2 numbers"},
      {"juniq", {{"weight.csv", "a,0,02\nb,0,02\nc,-0,004\nd,0,01"}}, 5, "decimal commas in it"},
      {"juniq", {{"offset.csv", ""}, {"weight.csv", "1,2,3,4"}}, 4, "lack the label that begins"},
      {"juniq", {{"offset.csv", ""}, {"elevation.csv", ""}}, 4, "more than three must be good"},
      {"glavor", {{"azimuth.csv~", Ramp(0.4)}}, 4, "5 files are good, but there must be exactly"},
      {"glavor", {{"azimuth.csv", ""}, {"Azimuth.csv", "1"}}, 4, "if the word were in lower case"},
      {"hestra", {}, 4, "hestra asks for 4 times the numbers that it uses"},
      {"fennix", {}, 4, "at least: azimuth 196,608, elevation 196,608, weight 16, near_filter 36"},
  };
  for (const auto& row : rows) {
    WriteFolder(row.changes);
    const std::string line = std::string("check-params room --model ") + row.model;
    const JsonValue report = RunJson(line, row.code);
    EXPECT_EQ(report["loaded"], row.code != 4) << row.sentence;
    EXPECT_THAT(row.code == 4 ? outcome_.err : report.Dump(), HasSubstr(row.sentence));
    EXPECT_EQ(report["rules"].Size() == 0, row.code != 4) << row.sentence;
  }
  WriteFolder({{"azimuth.csv", ""}});
  std::filesystem::rename(dir_ / "room", dir_ / "azimuth");
  EXPECT_EQ(Findings(RunJson("check-params azimuth --model juniq", 4)), "") << "none is meant";
  for (const char* const model : {"juniq", "glavor"}) {
    const std::string name = std::string(model) + " --check-folder " + model;
    Run("simulate --frames 1 --out c.pcap --model " + name);
    const auto check = Run(std::string("check-params --model ") + model + ' ' + model);
    EXPECT_EQ(check.code, 0) << check.out;
    EXPECT_THAT(check.out, HasSubstr("49,152  49,152")) << model;
  }
}

#ifdef ORLIQ_HAS_PNG

/// The picture in a file of base64: the places of its colours in the palette, 2 x 2 for each beam.
struct Picture {
  explicit Picture(const std::string& file) {
    EXPECT_EQ(std::system(("base64 -d '" + file + "' > '" + file + ".png'").c_str()), 0);
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, (file + ".png").c_str()), 0);
    image.format = PNG_FORMAT_RGB;
    width = image.width;
    colours.resize(std::size_t{image.width} * image.height);
    EXPECT_NE(png_image_finish_read(&image, nullptr, colours.data(), 0, nullptr), 0);
  }
  auto At(std::size_t x, std::size_t y) const {
    const Palette& palette = BeamPalette();
    return std::find(palette.begin(), palette.end(), colours.at(y * width + x)) - palette.begin();
  }

  std::size_t width = 0;
  std::vector<Colour> colours;
};

TEST_F(CheckParams, PicturesShowEveryBeamInItsPlace) {
  WriteFolder({{"azimuth.csv", ""},
               {"azimuth<&\x1B.csv", RampBut(200, 100, "500")},
               {"offset.csv", RampBut(3, 190, "nan")}});
  ASSERT_EQ(Run("check-params room --model juniq --plot p.svg").code, 5);
  const std::string svg = dir_.Read("p.svg");
  EXPECT_THAT(svg, HasSubstr(">azimuth&lt;&amp;?.csv: -51 to 500 deg<"));
  EXPECT_THAT(svg, HasSubstr(">1500</text>"));
  std::vector<Picture> pictures;
  const std::string uri = "\"data:image/png;base64,";
  for (auto at = svg.find(uri); at != std::string::npos; at = svg.find(uri, at + 1)) {
    const auto begin = at + uri.size();
    dir_.Write("base64", svg.substr(begin, svg.find('"', begin) - begin));
    pictures.emplace_back(dir_ / "base64");
  }
  ASSERT_EQ(pictures.size(), 6U) << "three tables, each with its scale";
  const Picture &azimuth = pictures[0], &elevation = pictures[2], &offset = pictures[4];
  EXPECT_EQ(azimuth.width, 512U);
  EXPECT_EQ(BeamPalette()[255], (Colour{255, 0, 255})) << "loud";
  for (const int i : {0, 1}) EXPECT_EQ(azimuth.At(400 + i, 200 + i), 255) << "beyond the limits";
  EXPECT_EQ(elevation.At(400, 200), 121) << "(-0.8 + 19) / 38.2 of 254";
  for (const int y : {0, 127, 128, 383}) {
    EXPECT_EQ(azimuth.At(0, y), 0);
    EXPECT_EQ(azimuth.At(402, y), 200) << "254 * 201 / 255, rounded";
    EXPECT_EQ(azimuth.At(511, y), 254);
    EXPECT_EQ(elevation.At(y, 0), 254) << "row 0 is the highest";
    EXPECT_EQ(elevation.At(y, 383), 0);
  }
  EXPECT_EQ(offset.At(6, 380), 255);
  EXPECT_EQ(offset.At(5, 380), 2);

  const test::Refusal refusals[] = {
      {"--model juniq --plot p.svg", 4, "p.svg exists: --force replaces it"},
      {"--model juniq --plot p.png", 2, "ends in .svg"},
      {"--model juniq --plot room/my_weight.svg", 4, "would count as a table"},
      {"--model corvik", 2, "has no calibration tables"}};
  for (auto refusal : refusals) {
    refusal.arguments = "check-params room " + refusal.arguments;
    ExpectRefusal(refusal);
  }
  EXPECT_EQ(dir_.Read("p.svg"), svg);
  EXPECT_EQ(Run("check-params room --model glavor --plot p.svg --force").code, 5);
  EXPECT_NE(dir_.Read("p.svg"), svg);
}

#endif

}  // namespace
}  // namespace orliq::cli
