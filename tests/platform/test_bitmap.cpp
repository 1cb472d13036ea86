// The bitmap: layout, pixel access, change events and image files.
#include <gtest/gtest.h>

// The test writes its JPEG with a private copy of the writer.
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <qelon/qelon.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string TempFile(const std::string& name) {
  return (std::filesystem::temp_directory_path() /
          ("qelon_bitmap_" + std::to_string(::getpid()) + "_" + name)).string();
}

// A pattern no row or column repeats, so flips and shifts show.
TColor PatternAt(int x, int y) {
  return TColor((x * 37 + y * 11) & 0xFF) | (TColor((x * 5 + y * 71) & 0xFF) << 8) |
         (TColor((x * 101 + y * 3) & 0xFF) << 16);
}

void Paint(TBitmap& b) {
  for (int y = 0; y < b.GetHeight(); ++y)
    for (int x = 0; x < b.GetWidth(); ++x) b.SetPixel(x, y, PatternAt(x, y));
}

struct ChangeCounter {
  int count = 0;
  void Attach(TBitmap& b) {
    b.OnChange = [this](TObject*) { ++count; };
  }
};

}  // namespace

TEST(Bitmap, ScanLinesRunTopDownOverABottomUpPaddedBlock) {
  TBitmap b(5, 3, pf24bit);
  EXPECT_EQ(b.GetStride(), 16);  // 15 bytes padded to 4
  EXPECT_EQ(b.GetBitsPerPixel(), 24);
  EXPECT_EQ(b.GetScanLine(2), b.GetBits());  // bottom line first in memory
  EXPECT_EQ(b.GetScanLine(0), b.GetBits() + 2 * 16);
  EXPECT_EQ(b.GetScanLine(3), nullptr);
  EXPECT_EQ(b.GetScanLine(-1), nullptr);

  b.SetPixel(1, 0, 0x00332211);  // red 0x11, green 0x22, blue 0x33
  const uint8_t* p = b.GetScanLine(0) + 3;
  EXPECT_EQ(p[0], 0x33);  // blue first
  EXPECT_EQ(p[1], 0x22);
  EXPECT_EQ(p[2], 0x11);
  EXPECT_EQ(b.GetPixel(1, 0), 0x00332211u);
  EXPECT_EQ(b.GetPixel(5, 0), CLR_INVALID);
  EXPECT_EQ(b.GetPixel(0, -1), CLR_INVALID);
  b.SetPixel(-1, 7, 0xFFFFFF);  // ignored

  TBitmap c(3, 2, pf32bit);
  EXPECT_EQ(c.GetStride(), 12);
  c.SetPixel(2, 1, 0x00ABCDEF);
  EXPECT_EQ(c.GetScanLine(1)[2 * 4 + 3], 255);  // opaque
  EXPECT_EQ(c.GetPixel(2, 1), 0x00ABCDEFu);
}

TEST(Bitmap, ResizingKeepsTheTopLeftAndFiresChange) {
  TBitmap b(4, 4);
  Paint(b);
  ChangeCounter changes;
  changes.Attach(b);
  b.SetSize(6, 2);
  EXPECT_EQ(changes.count, 1);
  EXPECT_EQ(b.GetWidth(), 6);
  EXPECT_EQ(b.GetHeight(), 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) EXPECT_EQ(b.GetPixel(x, y), PatternAt(x, y));
  EXPECT_EQ(b.GetPixel(5, 1), 0u);
  b.SetSize(6, 2);  // unchanged: no event
  EXPECT_EQ(changes.count, 1);
  b.SetPixel(0, 0, 0);  // pixel writes do not fire
  EXPECT_EQ(changes.count, 1);
  b.SetHeight(-3);
  EXPECT_TRUE(b.GetEmpty());
  EXPECT_EQ(b.GetBits(), nullptr);
  EXPECT_EQ(changes.count, 2);
  EXPECT_THROW(b.SetSize(100000, 100000), EQelError);
}

TEST(Bitmap, FormatChangeConvertsPixels) {
  TBitmap b(3, 3, pf24bit);
  Paint(b);
  ChangeCounter changes;
  changes.Attach(b);
  b.SetPixelFormat(pf32bit);
  EXPECT_EQ(changes.count, 1);
  EXPECT_EQ(b.GetBitsPerPixel(), 32);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(b.GetPixel(x, y), PatternAt(x, y));
      EXPECT_EQ(b.GetScanLine(y)[x * 4 + 3], 255);
    }
  b.SetPixelFormat(pf24bit);
  EXPECT_EQ(b.GetPixel(2, 1), PatternAt(2, 1));
  b.SetPixelFormat(pf24bit);
  EXPECT_EQ(changes.count, 2);
}

TEST(Bitmap, AssignCopiesImageButNotTheHandler) {
  TBitmap source(7, 5, pf32bit);
  Paint(source);
  int sourceChanges = 0;
  source.OnChange = [&](TObject*) { ++sourceChanges; };
  TBitmap copy;
  ChangeCounter changes;
  changes.Attach(copy);
  copy.Assign(&source);
  EXPECT_EQ(changes.count, 1);
  EXPECT_EQ(copy.GetWidth(), 7);
  EXPECT_EQ(copy.GetPixelFormat(), pf32bit);
  EXPECT_EQ(copy.GetPixel(6, 4), PatternAt(6, 4));
  copy.Changed();
  EXPECT_EQ(sourceChanges, 0);
  TPersistent other;
  copy.Assign(&other);  // not a bitmap: ignored
  EXPECT_EQ(copy.GetWidth(), 7);
  copy.Assign(nullptr);
  EXPECT_TRUE(copy.GetEmpty());
}

class BitmapFiles : public ::testing::TestWithParam<std::tuple<const char*, TPixelFormat>> {};

TEST_P(BitmapFiles, SaveAndLoadRoundTrip) {
  const auto [extension, format] = GetParam();
  const std::string file = TempFile(std::string("round") + extension);
  TBitmap saved(13, 6, format);  // odd width: padded lines
  Paint(saved);
  if (format == pf32bit)
    for (int y = 0; y < 6; ++y) saved.GetScanLine(y)[3] = static_cast<uint8_t>(40 * y);
  saved.SaveToFile(file);

  TBitmap loaded;
  ChangeCounter changes;
  changes.Attach(loaded);
  loaded.LoadFromFile(file);
  std::remove(file.c_str());
  EXPECT_EQ(changes.count, 1);
  ASSERT_EQ(loaded.GetWidth(), 13);
  ASSERT_EQ(loaded.GetHeight(), 6);
  EXPECT_EQ(loaded.GetPixelFormat(), format);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 13; ++x) ASSERT_EQ(loaded.GetPixel(x, y), PatternAt(x, y)) << x << "," << y;
  if (format == pf32bit)
    for (int y = 0; y < 6; ++y) EXPECT_EQ(loaded.GetScanLine(y)[3], 40 * y);
}

INSTANTIATE_TEST_SUITE_P(Formats, BitmapFiles,
                         ::testing::Values(std::make_tuple(".bmp", pf24bit),
                                           std::make_tuple(".bmp", pf32bit),
                                           std::make_tuple(".png", pf24bit),
                                           std::make_tuple(".PNG", pf32bit)));

TEST(Bitmap, SavesBmpUnlessThePngExtensionSaysOtherwise) {
  TBitmap b(2, 2);
  const std::string file = TempFile("image.dat");
  b.SaveToFile(file);
  std::ifstream in(file, std::ios::binary);
  char magic[2] = {};
  in.read(magic, 2);
  in.close();
  std::remove(file.c_str());
  EXPECT_EQ(std::string(magic, 2), "BM");
}

TEST(Bitmap, LoadsJpeg) {
  // Four flat quadrants survive JPEG compression nearly unchanged.
  const int w = 32, h = 16;
  const uint8_t colours[4][3] = {{250, 10, 10}, {10, 250, 10}, {10, 10, 250}, {240, 240, 240}};
  std::vector<uint8_t> rgb(w * h * 3);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const uint8_t* c = colours[(y >= h / 2) * 2 + (x >= w / 2)];
      std::copy(c, c + 3, &rgb[(y * w + x) * 3]);
    }
  const std::string file = TempFile("quadrants.jpg");
  ASSERT_TRUE(stbi_write_jpg(file.c_str(), w, h, 3, rgb.data(), 100));
  TBitmap b;
  b.LoadFromFile(file);
  std::remove(file.c_str());
  ASSERT_EQ(b.GetWidth(), w);
  ASSERT_EQ(b.GetHeight(), h);
  EXPECT_EQ(b.GetPixelFormat(), pf24bit);
  auto near = [](TColor got, const uint8_t* want) {
    for (int i = 0; i < 3; ++i)
      if (std::abs(int((got >> (8 * i)) & 0xFF) - int(want[i])) > 12) return false;
    return true;
  };
  EXPECT_TRUE(near(b.GetPixel(4, 4), colours[0]));
  EXPECT_TRUE(near(b.GetPixel(27, 4), colours[1]));
  EXPECT_TRUE(near(b.GetPixel(4, 12), colours[2]));
  EXPECT_TRUE(near(b.GetPixel(27, 12), colours[3]));
}

TEST(Bitmap, UnreadableFilesRaiseNamingFileAndReason) {
  TBitmap b(2, 2);
  b.SetPixel(0, 0, 0x123456);
  const std::string missing = TempFile("missing.bmp");
  try {
    b.LoadFromFile(missing);
    FAIL() << "no error";
  } catch (const EQelFileError& e) {
    EXPECT_EQ(e.FileName, missing);
    EXPECT_NE(std::string(e.what()).find(missing), std::string::npos);
    EXPECT_NE(std::string(e.what()).find("No such file"), std::string::npos) << e.what();
  }

  const std::string corrupt = TempFile("corrupt.png");
  {
    std::ofstream out(corrupt, std::ios::binary);
    out << "\x89PNG\r\n\x1a\n but then nothing sensible";
  }
  try {
    b.LoadFromFile(corrupt);
    FAIL() << "no error";
  } catch (const EQelFileError& e) {
    EXPECT_NE(std::string(e.what()).find(corrupt), std::string::npos);
    EXPECT_NE(std::string(e.what()).find("Not a readable"), std::string::npos) << e.what();
  }
  std::remove(corrupt.c_str());
  EXPECT_EQ(b.GetWidth(), 2);  // unchanged
  EXPECT_EQ(b.GetPixel(0, 0), 0x123456u);

  EXPECT_THROW(TBitmap().SaveToFile(TempFile("empty.bmp")), EQelFileError);
  EXPECT_THROW(b.SaveToFile("/nonexistent-dir/x.png"), EQelFileError);
}
