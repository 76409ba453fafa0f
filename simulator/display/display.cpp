#include "simulator/display/display.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/fb.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <sstream>

#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr int kLongestSide = 8192;
constexpr char kFile[] = "/sim/display";
constexpr char kSettings[] = "size WIDTHxHEIGHT (1 to 8192), depth 16|32 or format 16|24|32";

// The pixels of a row of the framebuffer: from 256 on the driver rounds up to a multiple of the bits of a pixel.
int row_pixels(const DisplaySettings& now) {
  return now.width < 256 ? now.width : (now.width + now.depth - 1) / now.depth * now.depth;
}

size_t row_bytes(const DisplaySettings& now) { return static_cast<size_t>(row_pixels(now) * now.depth / 8); }
size_t all_bytes(const DisplaySettings& now) { return row_bytes(now) * static_cast<size_t>(now.height); }

// Takes a setting; false for one that there is not.
bool parse_setting(const std::string& name, const std::string& value, DisplaySettings* out) {
  int number = 0;
  const size_t by = value.find('x');
  if (name == "size" && by != value.npos) {
    int height = 0;
    if (!read_number(value.substr(0, by), 1, kLongestSide, &number)) return false;
    if (!read_number(value.substr(by + 1), 1, kLongestSide, &height)) return false;
    out->width = number;
    out->height = height;
    return true;
  }
  if (!read_number(value, 16, 32, &number) || (number != 16 && number != 24 && number != 32)) return false;
  if (name == "depth" && number != 24) return out->depth = number, true;
  return name == "format" && (out->format = number, true);
}

// Takes a line of the file; false for one that makes no sense.
bool parse_line(std::string_view line, DisplaySettings* out) {
  if (is_comment(line)) return true;
  const std::string name(take_word(&line)), value(take_word(&line));
  return is_comment(line) && parse_setting(name, value, out);
}

// A picture as rows of pixels of 16, 24 or 32 bits, each row filled with zeros to `size` bytes.
std::string to_rows(const Image& image, int bits, size_t size) {
  const size_t width = static_cast<size_t>(image.width), bytes = static_cast<size_t>(bits) / 8;
  std::string rows(size * static_cast<size_t>(image.height), '\0');
  const uint32_t* from = image.pixels.data();
  for (char* row = rows.data(); row < rows.data() + rows.size(); row += size, from += width) {
    if (bits == 32) memcpy(row, from, width * bytes);
    for (size_t x = 0; bits != 32 && x < width; ++x) {
      const uint32_t pixel = bits == 16 ? narrow(from[x]) : from[x];
      memcpy(row + x * bytes, &pixel, bytes);
    }
  }
  return rows;
}

void complain(const std::string& what, const std::string& why) {
  __android_log_print(ANDROID_LOG_ERROR, "display", "%s: %s", what.c_str(), why.c_str());
}

}  // namespace

std::string Display::framebuffer() const { return resolve(root_, "/dev/graphics/fb0"); }

void Display::boot() {
  std::lock_guard guard(lock_);
  const std::string file = framebuffer();
  if (!is_pipe_or_device(file)) {
    [[maybe_unused]] const int emptied = truncate(file.c_str(), 0);
  }
  drawn_ = {};
}

DisplaySettings Display::settings() const {
  DisplaySettings result;
  std::string text;
  read_file(root_ + kFile, &text);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!parse_line(line, &result)) complain("sim/display", wrong(line));
  }
  return result;
}

std::string Display::wrong(const std::string& line) {
  DisplaySettings ignored;
  return parse_line(line, &ignored) ? "" : "no setting \"" + line + "\"; write " + kSettings;
}

bool Display::set(const std::string& name, const std::string& value, std::string* error) {
  std::lock_guard guard(lock_);
  DisplaySettings now = settings();
  if (!parse_setting(name, value, &now)) {
    return *error = "no setting \"" + name + " " + value + "\"; write " + kSettings, false;
  }
  std::ostringstream text;
  text << "size " << now.width << 'x' << now.height << "\ndepth " << now.depth << "\nformat " << now.format << '\n';
  if (write_file(root_ + kFile, text.str())) return true;
  return *error = std::string("cannot write sim/display: ") + strerror(errno), false;
}

bool Display::ioctl(int fd, unsigned long request, void* argument, int* result) {
  if (request != FBIOGET_FSCREENINFO && request != FBIOGET_VSCREENINFO) return false;
  struct stat asked, file;
  if (fstat(fd, &asked) != 0 || stat(framebuffer().c_str(), &file) != 0 || asked.st_dev != file.st_dev ||
      asked.st_ino != file.st_ino) {
    return false;
  }
  std::lock_guard guard(lock_);
  const DisplaySettings now = settings();
  *result = 0;
  if (request == FBIOGET_FSCREENINFO) {
    struct fb_fix_screeninfo fixed = {};
    strcpy(fixed.id, "simulated");
    fixed.smem_len = static_cast<__u32>(all_bytes(now));
    fixed.line_length = static_cast<__u32>(row_bytes(now));
    fixed.visual = FB_VISUAL_TRUECOLOR;
    *static_cast<struct fb_fix_screeninfo*>(argument) = fixed;
    // What the program maps must be there.
    if (!draw(now)) errno = EIO, *result = -1;
    return true;
  }
  struct fb_var_screeninfo variable = {};
  variable.xres = variable.xres_virtual = static_cast<__u32>(now.width);
  variable.yres = variable.yres_virtual = static_cast<__u32>(now.height);
  variable.bits_per_pixel = static_cast<__u32>(now.depth);
  if (now.depth == 16) variable.red = {11, 5, 0}, variable.green = {5, 6, 0}, variable.blue = {0, 5, 0};
  else variable.red = {0, 8, 0}, variable.green = {8, 8, 0}, variable.blue = {16, 8, 0}, variable.transp = {24, 8, 0};
  *static_cast<struct fb_var_screeninfo*>(argument) = variable;
  return true;
}

// Whether what is in the framebuffer is the display's own.
bool Display::is_own() const {
  struct stat file;
  if (stat(framebuffer().c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return false;
  return file.st_size == 0 || Version{file.st_mtim.tv_sec, file.st_mtim.tv_nsec, file.st_size} == drawn_;
}

std::vector<std::string> Display::lines() const {
  const DisplaySettings now = settings();
  struct timespec time = {};
  struct tm local = {};
  char clock[16] = "";
  clock_.get(CLOCK_REALTIME, &time);
  localtime_r(&time.tv_sec, &local);
  strftime(clock, sizeof clock, "%H:%M", &local);
  const std::optional<long long> level = readings_.number("/proc/tav_power/battery/capacity");
  return {properties_.get("ro.model.name"), "Battery " + (level ? std::to_string(*level) + "%" : "none"), clock,
          std::to_string(now.width) + "x" + std::to_string(now.height) + " " + std::to_string(now.depth) + " bit"};
}

// Gives the framebuffer its size, and brings the test card in it up to date; false when that fails. A file that is
// large enough keeps its size: a program may have mapped it.
bool Display::draw(const DisplaySettings& now) {
  const int fd = open(framebuffer().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  struct stat file;
  if (fd < 0 || fstat(fd, &file) != 0 || !S_ISREG(file.st_mode)) {
    complain("dev/graphics/fb0", fd < 0 ? strerror(errno) : "this is not a file");
    if (fd >= 0) close(fd);
    return false;
  }
  const bool own = is_own();
  const std::vector<std::string> text = lines();
  bool written =
      file.st_size >= static_cast<off_t>(all_bytes(now)) || ftruncate(fd, static_cast<off_t>(all_bytes(now))) == 0;
  if (own && (file.st_size == 0 || text != drawn_lines_)) {
    written = written && write_rest(fd, to_rows(test_card(now.width, now.height, text), now.depth, row_bytes(now)));
    drawn_lines_ = written ? text : std::vector<std::string>{};
  }
  if (own) {
    // Not the present time: whoever writes after this leaves another one.
    const struct timespec stamp[] = {{0, UTIME_OMIT}, {1, 0}};
    futimens(fd, stamp);
    fstat(fd, &file);
    drawn_ = {file.st_mtim.tv_sec, file.st_mtim.tv_nsec, file.st_size};
  }
  if (!written) complain("dev/graphics/fb0", strerror(errno));
  close(fd);
  return written;
}

Image Display::picture() const {
  std::lock_guard guard(lock_);
  const DisplaySettings now = settings();
  std::string bytes;
  if (is_own() || !read_file(framebuffer(), &bytes)) return test_card(now.width, now.height, lines());
  bytes.resize(all_bytes(now));
  Image image{now.width, now.height, {}};
  image.pixels.reserve(static_cast<size_t>(now.width) * static_cast<size_t>(now.height));
  for (int y = 0; y < now.height; ++y) {
    const char* at = bytes.data() + static_cast<size_t>(y) * row_bytes(now);
    for (int x = 0; x < now.width; ++x, at += now.depth / 8) {
      uint32_t pixel = 0;
      memcpy(&pixel, at, static_cast<size_t>(now.depth / 8));
      image.pixels.push_back(now.depth == 16 ? widen(static_cast<uint16_t>(pixel)) : pixel);
    }
  }
  return image;
}

std::string Display::raw() const {
  const Image image = picture();
  const int bits = settings().format;
  // The platform's numbers of these formats.
  const uint32_t header[] = {static_cast<uint32_t>(image.width), static_cast<uint32_t>(image.height),
                             bits == 16   ? 4u
                             : bits == 24 ? 3u
                                          : 1u};
  return std::string(reinterpret_cast<const char*>(header), sizeof header) +
         to_rows(image, bits, static_cast<size_t>(image.width * bits / 8));
}

int Display::screencap(const std::vector<std::string>& arguments, int output) const {
  bool png = false;
  std::string file;
  for (size_t i = 1; i < arguments.size(); ++i) {
    if (arguments[i] == "-p") png = true;
    else file = arguments[i].starts_with('/') ? arguments[i] : root_ + "/" + arguments[i];
  }
  const std::string image = png || file.ends_with(".png") ? to_png(picture()) : raw();
  const bool written = file.empty() ? output < 0 || write_rest(output, image) : write_file(file, image);
  if (!written) complain("screencap", file + ": " + strerror(errno));
  return written ? 0 : 1;
}

}  // namespace atd::sim
