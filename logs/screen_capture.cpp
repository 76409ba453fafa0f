#include "logs/screen_capture.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/fb.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "logs/pixels.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/security.h"
#include "text/file.h"

using namespace atd;

namespace {

constexpr char kFramebuffer[] = "/dev/graphics/fb0";
constexpr char kFolder[] = "/data/screencap/";
constexpr char kImage[] = "/data/screencap/screencapTemp.raw";
// Of a screen, in pixels. The sizes of its pictures fit an int.
constexpr uint32_t kLongestSide = 16384;
constexpr uint32_t kMostBits = 32;
// The wait status of a program that ends with 1.
constexpr int kEndedWith1 = 1 << 8;

// What a raw image begins with.
struct ImageHeader {
  uint32_t width;
  uint32_t height;
  uint32_t format;
};
static_assert(sizeof(ImageHeader) == 12);

int bits_of(uint32_t format) { return format == 3 ? 24 : format == 4 ? 16 : 32; }

bool is_size(uint32_t width, uint32_t height) { return width <= kLongestSide && height <= kLongestSide; }

bool fits(int start, int length, int whole) { return start >= 0 && length >= 0 && start <= whole - length; }

uint8_t* allocate(int width, int height, int bytes) {
  const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(bytes);
  return static_cast<uint8_t*>(calloc(size > 0 ? size : 1, 1));
}

void forget(unsigned char** array, int* size) {
  free(*array);
  *array = nullptr;
  *size = 0;
}

// Whether the file is as long as its header says.
bool has_rows(int fd, const ImageHeader& header) {
  struct stat file;
  if (fstat(fd, &file) != 0 || !is_size(header.width, header.height)) return false;
  const int bytes = bits_of(header.format) / 8;
  return static_cast<off_t>(header.width) * static_cast<off_t>(header.height) * bytes <=
         file.st_size - static_cast<off_t>(sizeof header);
}

// Reads all rows of the image whose header was read; null, which is reported, when that fails. Freed by the caller.
uint8_t* read_rows(int fd, const ImageHeader& header) {
  const int width = static_cast<int>(header.width), height = static_cast<int>(header.height);
  const int bytes = bits_of(header.format) / 8;
  uint8_t* rows = allocate(width, height, bytes);
  const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height * bytes);
  if (rows && read_up_to(fd, rows, size) == size) return rows;
  SLOGE("ScreenCapture: Can not read temp image file!\n");
  free(rows);
  return nullptr;
}

void remove_image(int fd) {
  close(fd);
  unlink(device_entry(kImage));
  os_umount2(kFolder, MNT_FORCE);
}

// Has screencap write the temporary image, opens it and reads its header; -1 with errno.
int open_image(ScreenCapture* capture, ImageHeader* header) {
  if (access(device_path(kFolder), F_OK) != 0 && mkdir(device_path(kFolder), 0744) != 0) {
    const int error = errno;
    SLOGE("captureScreen: Can not create %s!\n", kFolder);
    errno = error;
    return -1;
  }
  if (selinux_android_restorecon(kFolder, 0) != 0) SLOGE("ScreenCapture: selinux_android_restorecon fail!\n");
  if (capture->saveScreenToFile(0, kImage) != 0) {
    const int error = errno;
    SLOGE("ScreenCapture: Can not save temp image file!\n");
    errno = error;
    return -1;
  }
  const int fd = open_file(kImage);
  if (fd < 0) return -1;
  SLOGI("captureScreen: next!");
  if (read_up_to(fd, header, sizeof *header) == sizeof *header) return fd;
  remove_image(fd);
  errno = EIO;
  return -1;
}

}  // namespace

ScreenCapture::ScreenCapture() = default;

ScreenCapture::~ScreenCapture() {
  free(captured_);
  free(bitmap_);
  deinit();
}

int ScreenCapture::init() {
  if (initialized_) {
    SLOGI("Already initialized!\n");
    return 0;
  }
  fd_ = open(device_path(kFramebuffer), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) {
    const int error = errno;
    SLOGE("Cannot open fb0!\n");
    SLOGE("FD open fail : %s\n", strerror(error));
    return -1;
  }
  const auto close_with = [this](int result) {
    close(fd_);
    fd_ = -1;
    return result;
  };
  struct fb_fix_screeninfo fixed = {};
  struct fb_var_screeninfo variable = {};
  if (os_ioctl(fd_, FBIOGET_FSCREENINFO, &fixed) < 0 || os_ioctl(fd_, FBIOGET_VSCREENINFO, &variable) < 0 ||
      !is_size(variable.xres, variable.yres) || variable.bits_per_pixel > kMostBits) {
    SLOGE("failed to get fb0 info!\n");
    return close_with(-1);
  }
  framebuffer_size_ = fixed.smem_len;
  screen_width_ = static_cast<int>(variable.xres);
  screen_height_ = static_cast<int>(variable.yres);
  bits_per_pixel_ = static_cast<int>(variable.bits_per_pixel);
  // screencap needs the screen's size alone, which is read anew for each capture.
  if (surface_flinger_) return close_with(0);
  void* const mapped = mmap(nullptr, framebuffer_size_, PROT_READ, MAP_SHARED, fd_, 0);
  if (mapped == MAP_FAILED) {
    SLOGE("Failed to mmap framebuffer!\n");
    return close_with(-1);
  }
  framebuffer_ = mapped;
  SLOGI("ScreenCapture: initialized");
  SLOGI("ScreenCapture: xres:%d, yres:%d, bitsPerPixel:%d\n", screen_width_, screen_height_, bits_per_pixel_);
  initialized_ = 1;
  return 0;
}

void ScreenCapture::deinit() {
  if (!initialized_) return;
  munmap(framebuffer_, framebuffer_size_);
  framebuffer_ = nullptr;
  close(fd_);
  fd_ = -1;
  initialized_ = 0;
}

int ScreenCapture::captureScreen() {
  const int width = getScreenWidth();
  return captureScreen(0, 0, width, screen_height_, 16);
}

int ScreenCapture::captureScreen(int left, int top, int width, int height, int bits) {
  forget(&captured_, &captured_size_);
  if (!initialized_) init();
  if (!fits(left, width, screen_width_) || !fits(top, height, screen_height_)) {
    SLOGE("Invalid capture request!!!!!\n");
    return 0;
  }
  return surface_flinger_ ? captureScreenSF(left, top, width, height, bits)
                          : captureScreenFB(left, top, width, height, bits);
}

int ScreenCapture::captureScreenFB(int left, int top, int width, int height, int bits) {
  forget(&captured_, &captured_size_);
  set_rectangle(left, top, width, height);
  SLOGI("captureScreen: left=%d, top=%d, width=%d, height=%d\n", left, top, width, height);
  const bool is_32 = bits == 32 || bits_per_pixel_ == 32;
  if (!is_32 && bits_per_pixel_ != 16) return 0;
  // What the driver says about the screen and about its memory need not agree.
  const int64_t row = bits == 32 ? screen_width_ : row_pixels();
  const int64_t end = (row * (static_cast<int64_t>(top) + height - 1) + left + width) * (is_32 ? 4 : 2);
  if (!fits(left, width, screen_width_) || !fits(top, height, screen_height_) ||
      (framebuffer_ && end > framebuffer_size_)) {
    SLOGE("Invalid capture request!!!!!\n");
    set_rectangle(0, 0, 0, 0);
    return 0;
  }
  captured_ = allocate(width, height, bits == 32 ? 4 : 2);
  captured_size_ = bits == 32              ? getRectangleTrue32(framebuffer_, captured_)
                   : bits_per_pixel_ == 16 ? getRectangle16(framebuffer_, captured_)
                                           : getRectangle32(framebuffer_, captured_);
  return captured_size_;
}

int ScreenCapture::captureScreenSF(int left, int top, int width, int height, int bits) {
  forget(&captured_, &captured_size_);
  set_rectangle(left, top, width, height);
  SLOGI("captureScreen: left=%d, top=%d, width=%d, height=%d\n", left, top, width, height);
  ImageHeader header;
  const int fd = open_image(this, &header);
  if (fd < 0) {
    SLOGE("ScreenCapture: Fail to get image data from SF.[err = %s]\n", strerror(errno));
    surface_flinger_ = 0;
    init();
    captureScreenFB(left, top, width, height, bits);
    surface_flinger_ = 1;
    return captured_size_;
  }
  SLOGI("ScreenCapture: X:%d, Y:%d, Format:%d\n", static_cast<int>(header.width), static_cast<int>(header.height),
        static_cast<int>(header.format));
  uint8_t* rows = nullptr;
  if (!has_rows(fd, header)) {
    SLOGE("ScreenCapture: Wrong temp image file!\n");
  } else {
    screen_width_ = static_cast<int>(header.width);
    screen_height_ = static_cast<int>(header.height);
    bits_per_pixel_ = bits_of(header.format);
    // The image need not have the framebuffer's size.
    const int64_t end = static_cast<int64_t>(screen_width_) * (int64_t{top} + height - 1) + left + width;  // in pixels
    if (!fits(left, width, screen_width_) || !fits(top, height, screen_height_) ||
        (bits == 32 && end * 32 > static_cast<int64_t>(screen_width_) * screen_height_ * bits_per_pixel_)) {
      SLOGE("Invalid capture request!!!!!\n");
      set_rectangle(0, 0, 0, 0);
    } else {
      captured_ = allocate(width, height, bits == 32 ? 4 : 2);
      rows = read_rows(fd, header);
    }
  }
  if (rows) {
    // An image of 24 bits stays as it is: nobody has ever had one converted.
    if (bits == 32) captured_size_ = getRectangleTrue32(rows, captured_);
    else if (bits_per_pixel_ == 16) captured_size_ = getRectangle16(rows, captured_);
    else if (bits_per_pixel_ == 32) captured_size_ = getRectangle32(rows, captured_);
  }
  SLOGI("ScreenCapture: captureScreenSF is done.\n");
  free(rows);
  remove_image(fd);
  return captured_size_;
}

int ScreenCapture::getRectangle32(const void* source, void* destination) {
  if (!source || !destination) {
    SLOGE("Used null buffer!");
    return 0;
  }
  const uint32_t* from = static_cast<const uint32_t*>(source) + static_cast<ptrdiff_t>(row_pixels()) * top_ + left_;
  uint16_t* to = static_cast<uint16_t*>(destination);
  for (int y = 0; y < height_; ++y, from += row_pixels(), to += width_) to_565(from, static_cast<size_t>(width_), to);
  return height_ * width_ * 2;
}

int ScreenCapture::getRectangle16(const void* source, void* destination) {
  if (!source || !destination) {
    SLOGE("Used null buffer!");
    return 0;
  }
  const uint16_t* from = static_cast<const uint16_t*>(source) + static_cast<ptrdiff_t>(row_pixels()) * top_ + left_;
  uint16_t* to = static_cast<uint16_t*>(destination);
  for (int y = 0; y < height_; ++y, from += row_pixels(), to += width_) {
    memcpy(to, from, static_cast<size_t>(width_) * sizeof *to);
  }
  return height_ * width_ * 2;
}

int ScreenCapture::getRectangleTrue32(const void* source, void* destination) {
  if (!source || !destination) {
    SLOGE("Used null buffer!");
    return 0;
  }
  // Without the framebuffer's gaps, as those who use it expect.
  const uint32_t* from = static_cast<const uint32_t*>(source) + static_cast<ptrdiff_t>(screen_width_) * top_ + left_;
  uint32_t* to = static_cast<uint32_t*>(destination);
  for (int y = 0; y < height_; ++y, from += screen_width_, to += width_) {
    memcpy(to, from, static_cast<size_t>(width_) * sizeof *to);
  }
  return height_ * width_ * 4;
}

int ScreenCapture::convertToBW(int threshold) {
  if (captured_size_ == 0) return 0;
  forget(&bitmap_, &bitmap_size_);
  const int row = (width_ + 31) / 32 * 32 / 8;
  bitmap_ = allocate(row, height_, 1);
  bitmap_size_ = bitmap_ ? row * height_ : 0;
  const int limit = static_cast<int>(static_cast<int64_t>(threshold) * 3 / 4);
  for (int y = 0; bitmap_ && y < height_; ++y) {
    to_bits(captured_ + 2 * y * width_, static_cast<size_t>(width_), limit, bitmap_ + y * row);
  }
  return bitmap_size_;
}

int ScreenCapture::saveScreenToFile(int png, const char* path) {
  const char* const raw_arguments[] = {"screencap", path, nullptr};
  const char* const png_arguments[] = {"screencap", "-p", path, nullptr};
  int status = os_run(png ? png_arguments : raw_arguments);
  const int error = errno;
  if (status == -1) return -1;
  if (status == kNotExecuted) {
    SLOGE("ScreenCapture: Can not excute screencap!\n");
    status = kEndedWith1;
  }
  SLOGI("captureScreen: status(%d)\n", status);
  if (status != kEndedWith1 && !WIFSIGNALED(status)) return 0;
  SLOGE("captureScreen: screencap did not exit clearly!\n");
  errno = error;
  return -1;
}

unsigned char* ScreenCapture::getCaptured() { return captured_; }
int ScreenCapture::getCapturedSize() { return captured_size_; }
unsigned char* ScreenCapture::getCapturedBW() { return bitmap_; }
int ScreenCapture::getCapturedBWSize() { return bitmap_size_; }

int ScreenCapture::getScreenWidth() {
  if (!initialized_) init();
  return screen_width_;
}

int ScreenCapture::getScreenHeight() {
  if (!initialized_) init();
  return screen_height_;
}
