#include "system/cpu.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kCpus = 8;
constexpr size_t kReportSize = 1024;
constexpr char kGovernor[] = "/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor";
constexpr char kCurrent[] = "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq";

using Frequency = char[32];

// Reads the frequency's text without its last character, the line end; false when there is none.
bool read_frequency(const char* node, int cpu, Frequency& text) {
  char path[96];
  TextWriter(path).format("/sys/devices/system/cpu/cpu%d/cpufreq/%s", cpu, node);
  const int length = unified_sysfs_read(path, text, sizeof text);
  if (length < 1) return false;
  text[length - 1] = '\0';
  return true;
}

int cannot_open(const char* path) {
  SLOGE("set cpu open failed. fn = %s, error = %s\n", path, strerror(errno));
  return -1;
}

}  // namespace

int get_cpu_freq(char* out, int* length) {
  TextWriter report(out, kReportSize);
  for (int cpu = 0; cpu < kCpus; ++cpu) {
    Frequency current = "", maximum = "", minimum = "";
    if (!read_frequency("scaling_cur_freq", cpu, current)) continue;
    read_frequency("scaling_max_freq", cpu, maximum);
    read_frequency("scaling_min_freq", cpu, minimum);
    report.format(cpu == 0 ? "%d," : ",%d,", cpu).format("%s,%s,%s", current, maximum, minimum);
  }
  *length = static_cast<int>(report.length());
  return 0;
}

int set_cpu_performance(int mode) {
  SLOGI("mode = %d \n", mode);
  const char* governor = mode ? "performance" : "powersave";
  int fd = open(device_path(kGovernor), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (fd < 0) return cannot_open(kGovernor);
  // The driver takes the text with its terminator.
  const bool written = write(fd, governor, strlen(governor) + 1) > 0;
  if (!written) SLOGE("set cpu write failed. fd = %d, error = %s\n", fd, strerror(errno));
  close(fd);
  if (!written) return -1;
  SLOGI("success. mode = %d \n", mode);

  char frequency[256 + 1];
  fd = open(device_path(kCurrent), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return cannot_open(kCurrent);
  const ssize_t length = read(fd, frequency, sizeof frequency - 1);
  if (length < 0) SLOGE("set cpu read failed. fd = %d, error = %s\n", fd, strerror(errno));
  close(fd);
  if (length < 0) return -1;
  frequency[length] = '\0';
  SLOGI("current cpu freq. = %s\n", frequency);
  return 0;
}
