// Pictures of the screen: conversions, what screencap leaves, the framebuffer, the simulated display.
#include <limits.h>
#include <sys/stat.h>
#include <zlib.h>

#include <fstream>
#include <random>

#include "atd.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

constexpr char kTemporary[] = "/data/screencap/screencapTemp.raw";

std::string noise(size_t size) {
  static std::mt19937 random(1);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

std::string number(uint32_t value) { return {reinterpret_cast<const char*>(&value), 4}; }

// The 16 bits of a pixel of 32.
std::string narrowed(const std::string& pixel) {
  const int red = uint8_t(pixel[0]) / 8, green = uint8_t(pixel[1]) / 4, blue = uint8_t(pixel[2]) / 8;
  const int value = red * 2048 + green * 32 + blue;
  return {char(value % 256), char(value / 256)};
}

class ScreenTest : public Phone {
 protected:
  void display(const std::string& name, const std::string& value) {
    std::string error;
    EXPECT_TRUE(device().display.set(name, value, &error)) << error;
  }
  // Makes screencap leave this file, and the library take it: 2 is no failure.
  void leave(const std::string& image) {
    std::filesystem::create_directory(root_ + "/data/screencap");
    put(kTemporary, image);
    device().shell.set_exit("screencap", 2);
  }
  std::string captured() {
    return {reinterpret_cast<const char*>(screen_.getCaptured()), size_t(screen_.getCapturedSize())};
  }

  ScreenCapture screen_;
};

TEST_F(ScreenTest, ARectangleHasThePixelsOfTheScreen) {
  struct Row {
    int width, depth, stride;  // of the framebuffer, in pixels
  };
  constexpr int kHeight = 9, kLeft = 5, kTop = 2, kWidth = 31, kRows = 6;
  for (const Row& row : {Row{40, 32, 40}, Row{300, 32, 320}, Row{300, 16, 304}, Row{256, 16, 256}}) {
    display("size", std::to_string(row.width) + "x" + std::to_string(kHeight));
    display("depth", std::to_string(row.depth));
    const size_t bytes = size_t(row.depth) / 8;
    const std::string screen = noise(size_t(row.stride) * kHeight * bytes);
    put("/dev/graphics/fb0", screen);
    std::string raw, wanted, gapless;
    for (int y = kTop; y < kTop + kRows; ++y) {
      for (int x = kLeft; x < kLeft + kWidth; ++x) {
        const std::string pixel = screen.substr(size_t(y * row.stride + x) * bytes, bytes);
        raw += pixel;
        wanted += row.depth == 32 ? narrowed(pixel) : pixel;
      }
      if (row.depth == 32) gapless += screen.substr(size_t(y * row.width + kLeft) * 4, kWidth * 4);
    }
    for (const char* format : {"16", "32"}) {
      display("format", format);
      EXPECT_EQ(kWidth * kRows * 2, screen_.captureScreen(kLeft, kTop, kWidth, kRows, 16));
      EXPECT_EQ(wanted, captured()) << row.width << " by screencap, " << format;
    }
    if (row.depth == 32) EXPECT_EQ(kWidth * kRows * 4, screen_.captureScreen(kLeft, kTop, kWidth, kRows, 32));
    if (row.depth == 32) EXPECT_EQ(raw, captured());
    device().faults.fail("run");
    ScreenCapture framebuffer;
    EXPECT_EQ(kWidth * kRows * 2, framebuffer.captureScreen(kLeft, kTop, kWidth, kRows, 16));
    EXPECT_EQ(0, memcmp(framebuffer.getCaptured(), wanted.data(), wanted.size())) << row.width << " mapped";
    const int true_size = framebuffer.captureScreen(kLeft, kTop, kWidth, kRows, 32);
    if (row.depth == 32) {
      ASSERT_EQ(int(gapless.size()), true_size);
      EXPECT_EQ(0, memcmp(framebuffer.getCaptured(), gapless.data(), gapless.size())) << "rows without their gaps";
      EXPECT_EQ(row.width * kHeight * 2, framebuffer.captureScreen());
    }
    device().faults.clear();
  }
  EXPECT_EQ(0, errors("Wrong temp image file!"));
  // Rows of 304 words do not fit a framebuffer of rows of 304 half words.
  display("size", "300x9");
  device().faults.fail("run");
  EXPECT_EQ(0, ScreenCapture().captureScreen(0, 0, 300, 9, 32));
}

TEST_F(ScreenTest, ARectangleThatIsNotOnTheScreenIsRefused) {
  display("size", "100x50");
  const int rows[][4] = {{0, 0, 101, 50},         {0, 0, 100, 51},    {1, 0, 100, 50},    {-1, 0, 10, 10},
                         {0, -1, 9, 9},           {0, 0, -1, 5},      {0, 0, 5, -1},      {INT_MAX, 0, 10, 9},
                         {9, INT_MAX, 9, 9},      {9, 9, INT_MAX, 9}, {9, 9, 9, INT_MAX}, {INT_MIN, 0, 9, 9},
                         {0, 0, INT_MIN, INT_MIN}};
  for (const auto& [left, top, width, height] : rows) {
    for (auto capture : {static_cast<int (ScreenCapture::*)(int, int, int, int, int)>(&ScreenCapture::captureScreen),
                         &ScreenCapture::captureScreenSF, &ScreenCapture::captureScreenFB}) {
      device().logs.clear();
      EXPECT_EQ(0, (screen_.*capture)(left, top, width, height, 16));
      EXPECT_EQ(1, errors("Invalid capture request!!!!!\n"));
      EXPECT_EQ(0, screen_.convertToBW(10));
    }
  }
  EXPECT_EQ(100 * 50 * 2, screen_.captureScreen());
  EXPECT_EQ(0, screen_.captureScreen(0, 0, 101, 50, 16)) << "and the last capture is gone";
  EXPECT_EQ(nullptr, screen_.getCaptured());
  EXPECT_EQ(0, screen_.getRectangle32(nullptr, this) + screen_.getRectangle16(this, nullptr) +
                   screen_.getRectangleTrue32(nullptr, nullptr));
  EXPECT_EQ(3, errors("Used null buffer!"));
}

TEST_F(ScreenTest, AnImageIsNotBelieved) {
  display("size", "4x4");
  const std::string pixels(64, 'x');
  const auto header = [](uint32_t x, uint32_t y, uint32_t format) { return number(x) + number(y) + number(format); };
  const std::tuple<std::string, int, int> rows[] = {
      {header(4, 4, 1) + pixels, 16, 32},
      {header(4, 4, 1) + pixels, 32, 64},
      {header(4, 4, 77) + pixels + "more", 16, 32},
      {header(4, 4, 4) + pixels.substr(0, 32), 16, 32},
      {header(4, 4, 4) + pixels, 32, 0},  // not so many words
      {header(9, 7, 4) + pixels + pixels, 32, 64},
      {header(4, 4, 3) + pixels, 16, 0},  // is not converted
      {header(4, 4, 3) + pixels, 32, 0},
      {header(4, 4, 1) + pixels.substr(1), 16, 0},
      {header(4, 4, 4) + pixels.substr(33), 16, 0},
      {header(3, 4, 1) + pixels, 16, 0},  // the rectangle is not on it
      {header(4, 3, 1) + pixels, 32, 0},
      {header(0x40000001, 4, 1) + pixels, 16, 0},
      {header(4, 0x40000004, 1) + pixels, 16, 0},
      {header(0x80000000, 0x80000000, 1) + pixels, 32, 0},
      {header(0xFFFFFFFF, 0xFFFFFFFF, 4) + pixels, 16, 0},
      {header(4, 4, 1), 16, 0},
      {number(4) + number(4), 16, 32},  // no image: the framebuffer
      {"", 32, 64},
  };
  screen_.captureScreen(9, 9, 9, 9, 16);  // opens the log
  const auto open_files = descriptors();
  for (const auto& [image, bits, size] : rows) {
    SCOPED_TRACE(testing::PrintToString(image.substr(0, 12)));
    leave(image);
    EXPECT_EQ(size, screen_.captureScreen(0, 0, 4, 4, bits));
    screen_.deinit();
    EXPECT_FALSE(std::filesystem::exists(root_ + kTemporary));
    EXPECT_EQ("umount2 /data/screencap/ 1", device().shell.history().back());
    EXPECT_EQ(open_files, descriptors());
  }
  device().shell.set_exit("screencap", -1);
  EXPECT_EQ(32, screen_.captureScreen()) << "it stays usable";
}

TEST_F(ScreenTest, TheStatusOfScreencapDecides) {
  const std::string tool = root_ + "/system/bin/screencap";
  const std::tuple<std::string, int, std::string> rows[] = {
      {"#!/bin/sh\nexit 0\n", 0, "status(0)"},           {"#!/bin/sh\nexit 2\n", 0, "status(512)"},
      {"#!/bin/sh\nexit 1\n", -1, "status(256)"},        {"#!/bin/sh\nkill -9 $$\n", -1, "status(9)"},
      {"#!/bin/sh\nkill -STOP $$\n", 0, "status(4991)"}, {"#!/nowhere\n", -1, "status(256)"},
      {"#!/bin/sh\nexit 126\n", 0, "status(32256)"},
  };
  for (const auto& [script, result, status] : rows) {
    device().logs.clear();
    put("/system/bin/screencap", script);
    EXPECT_EQ(result, screen_.saveScreenToFile(0, "/data/x.raw")) << script;
    EXPECT_EQ(1, logged("captureScreen: " + status)) << script;
    EXPECT_EQ(result == 0 ? 0 : 1, errors("captureScreen: screencap did not exit clearly!\n"));
    EXPECT_EQ(has(script, "nowhere"), errors("ScreenCapture: Can not excute screencap!\n"));
  }
  std::filesystem::remove(tool);
  EXPECT_EQ(-1, screen_.saveScreenToFile(1, "/data/x.png"));
  EXPECT_EQ("screencap -p /data/x.png", device().shell.history().back());
  EXPECT_EQ(2, logged("captureScreen: status(256)\n") + errors("ScreenCapture: Can not excute screencap!\n"));
  device().logs.clear();
  device().faults.fail("run");
  EXPECT_EQ(-1, screen_.saveScreenToFile(0, "/data/x.raw"));
  EXPECT_EQ(0, logged("captureScreen: status")) << "there was no process";
}

TEST_F(ScreenTest, TheFramebufferIsTheWayOut) {
  display("size", "20x10");
  EXPECT_EQ(400, screen_.captureScreen());
  const auto open_files = descriptors();
  struct stat folder;
  ASSERT_EQ(0, stat((root_ + "/data/screencap").c_str(), &folder));
  EXPECT_EQ(0744u, folder.st_mode & 0777);
  EXPECT_EQ(1, logged("captureScreen: next!"));
  EXPECT_EQ(1, logged("ScreenCapture: X:20, Y:10, Format:1\n"));
  device().faults.fail("selinux_android_restorecon");
  EXPECT_EQ(400, screen_.captureScreen());
  EXPECT_EQ(1, errors("ScreenCapture: selinux_android_restorecon fail!\n"));
  std::filesystem::remove(root_ + "/data/screencap");
  put("/data/screencap", "");
  EXPECT_EQ(400, screen_.captureScreen()) << "nothing can be in a file";
  EXPECT_EQ(1, errors("ScreenCapture: Fail to get image data from SF.[err = File exists]\n"));
  EXPECT_EQ(1, logged("ScreenCapture: xres:20, yres:10, bitsPerPixel:32\n"));
  EXPECT_EQ(400, screen_.captureScreen());
  EXPECT_EQ(1, logged("Already initialized!\n"));
  screen_.deinit();
  EXPECT_EQ(open_files, descriptors());
  device().faults.fail("ioctl");
  EXPECT_EQ(-1, screen_.init());
  EXPECT_EQ(1, errors("failed to get fb0 info!\n"));
  std::filesystem::remove(root_ + "/dev/graphics/fb0");
  EXPECT_EQ(-1, screen_.init());
  EXPECT_EQ(1, errors("FD open fail : No such file or directory\n"));
  EXPECT_EQ(open_files, descriptors());
}

TEST_F(ScreenTest, ABitmapHasTheBrightPixels) {
  for (int width : {1, 7, 8, 10, 16, 31, 33, 50}) {
    display("size", std::to_string(width) + "x3");
    put("/dev/graphics/fb0", noise(size_t(width) * 3 * 4));
    ASSERT_EQ(width * 6, screen_.captureScreen());
    const std::string pixels = captured();
    const size_t row = size_t(width + 31) / 32 * 4;
    for (int threshold : {INT_MIN, -2, -1, 0, 1, 125, 240, 249, 250, INT_MAX}) {
      std::string wanted(row * 3, '\0');
      for (size_t i = 0; i < size_t(width) * 3; ++i) {
        const int value = uint8_t(pixels[2 * i]) * 256 + uint8_t(pixels[2 * i + 1]);
        const int brightness = 2 * (value / 2048) + value / 32 % 64 + 2 * (value % 32);
        const size_t x = i % size_t(width);
        if (brightness > int(threshold * 3LL / 4)) wanted[i / size_t(width) * row + x / 8] |= char(128 >> x % 8);
      }
      ASSERT_EQ(int(row) * 3, screen_.convertToBW(threshold));
      EXPECT_EQ(wanted, std::string(reinterpret_cast<const char*>(screen_.getCapturedBW()), wanted.size()))
          << width << " " << threshold;
    }
  }
}

TEST_F(ScreenTest, TheDisplayShowsATestCard) {
  struct stat file;
  ASSERT_EQ(0, stat((root_ + "/dev/graphics/fb0").c_str(), &file));
  EXPECT_EQ(0, file.st_blocks) << "nothing is drawn before somebody looks";
  ASSERT_EQ(0, screen_.saveScreenToFile(1, "/data/x.png"));
  const std::string png = content(root_ + "/data/x.png");
  ASSERT_TRUE(png.starts_with("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x04\x38\0\0\x07\x80\x08\x02\0\0\0"s));
  const size_t data = png.find("IDAT");
  uLongf size = (1080 * 3 + 1) * 1920;
  std::string rows(size + 1, '\0');
  ASSERT_EQ(Z_OK, uncompress(reinterpret_cast<Bytef*>(rows.data()), &size,
                             reinterpret_cast<const Bytef*>(png.data() + data + 4), png.size() - data - 4));
  ASSERT_EQ(rows.size() - 1, size);
  ASSERT_EQ(1080 * 1920 * 2, screen_.captureScreen());
  const std::string card = captured();
  for (size_t y : {0, 400, 1000, 1400, 1919}) {
    for (size_t x = 0; x < 1080; x += 7) {
      EXPECT_EQ(narrowed(rows.substr(y * 3241 + 1 + x * 3, 3)), card.substr((y * 1080 + x) * 2, 2)) << x << " " << y;
    }
  }
  const std::string yellow = card.substr((400 * 1080 + 200) * 2, 2);
  EXPECT_EQ("\xE0\xFF"s, yellow);
  device().readings.set_level(3);
  screen_.captureScreen();
  EXPECT_NE(card, captured()) << "it tells the battery's level";
  put("/dev/graphics/fb0", "somebody else's");
  screen_.captureScreen();
  EXPECT_EQ(narrowed("some"), captured().substr(0, 2));
  device().reboot();
  screen_.captureScreen();
  EXPECT_EQ(yellow, captured().substr((400 * 1080 + 200) * 2, 2));
}

}  // namespace
}  // namespace atd
