// Pictures of the screen.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// Captures rectangles of the screen, by the program screencap, or from the framebuffer where that fails. One thread
// uses an object at a time. The object owns its arrays; each lasts until the next capture, also a failing one, or the
// next bitmap.
class ScreenCapture {
 public:
  ScreenCapture();
  virtual ~ScreenCapture();
  ScreenCapture(const ScreenCapture&) = delete;
  ScreenCapture& operator=(const ScreenCapture&) = delete;

  // Reads the screen's size and depth from the framebuffer, and maps it where images are not taken from screencap. 0,
  // also when it is mapped already, or -1 when the framebuffer cannot be opened, asked or mapped.
  int init();

  // Gives a mapped framebuffer back.
  void deinit();

  // Captures the whole screen at 16 bits; the size in bytes, 0 on failure.
  int captureScreen();

  // Captures a rectangle in pixels of the screen, as 32-bit pixels with `bits` 32, else as 16-bit ones: red in bits 11
  // to 15, green in 5 to 10, blue in 0 to 4. Returns the size in bytes, rows without gaps; 0 for a rectangle that is
  // not on the screen, an image of another depth, and any other failure.
  int captureScreen(int left, int top, int width, int height, int bits);

  // Captures from the framebuffer; 0 while it is not mapped, which only captureScreenSF does when screencap gives no
  // image.
  int captureScreenFB(int left, int top, int width, int height, int bits);

  // Captures by screencap, from the framebuffer where screencap gives no image. An image that is shorter than it says
  // has the size 0, and so has one of 24 bits at 16 bits: it is not converted. At 32 bits, words of any image are
  // copied as they are, where the rectangle lies in it.
  int captureScreenSF(int left, int top, int width, int height, int bits);

  // Copy the rectangle of the last capture from a picture of the whole screen, whose size they believe, to rows without
  // gaps: 32-bit pixels to 16-bit ones, 16-bit pixels, 32-bit pixels. While captureScreenSF reads the framebuffer, a
  // row of 256 pixels or more is rounded up to a multiple of the bits per pixel, but never in getRectangleTrue32. The
  // bytes written, 0 without a source or a destination.
  int getRectangle32(const void* source, void* destination);
  int getRectangle16(const void* source, void* destination);
  int getRectangleTrue32(const void* source, void* destination);

  // Makes a bitmap of the last 16-bit capture: one bit a pixel, the first one in a byte's highest bit, rows padded to
  // 32 pixels with zeros, 1 where 2 * red + green + 2 * blue, with the two bytes of a pixel swapped, is greater than
  // threshold * 3 / 4. Its size in bytes, 0 without a capture or memory.
  int convertToBW(int threshold);

  // Has screencap write what is on the screen to a device path, as a PNG file or, with png 0, raw. 0, also for a
  // program that ends with another status than 1; -1 when it cannot be run, ends with 1 or is killed.
  int saveScreenToFile(int png, const char* path);

  // The last capture and the last bitmap, null before the first one, and their sizes in bytes.
  unsigned char* getCaptured();
  int getCapturedSize();
  unsigned char* getCapturedBW();
  int getCapturedBWSize();

  // The size of the screen in pixels, 0 while it is not known.
  int getScreenWidth();
  int getScreenHeight();

 private:
  // The pixels from the beginning of a picture's row to that of the next one.
  int row_pixels() const {
    const bool is_padded = surface_flinger_ == 0 && screen_width_ >= 256 && bits_per_pixel_ > 0;
    return is_padded ? (screen_width_ + bits_per_pixel_ - 1) / bits_per_pixel_ * bits_per_pixel_ : screen_width_;
  }

  void set_rectangle(int left, int top, int width, int height) {
    left_ = left;
    top_ = top;
    width_ = width;
    height_ = height;
  }

  int initialized_ = 0;
  int fd_ = -1;
  void* framebuffer_ = nullptr;
  uint32_t framebuffer_size_ = 0;
  int screen_width_ = 0;
  int screen_height_ = 0;
  int bits_per_pixel_ = 0;
  int top_ = 0;
  int left_ = 0;
  int width_ = 0;
  int height_ = 0;
  unsigned char* captured_ = nullptr;
  int captured_size_ = 0;
  unsigned char* bitmap_ = nullptr;
  int bitmap_size_ = 0;
  int surface_flinger_ = 1;
};

#pragma GCC visibility pop

static_assert(sizeof(ScreenCapture) == (sizeof(void*) == 4 ? 68 : 88), "hosts are built with this layout");
