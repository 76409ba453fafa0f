#include <android/log.h>
#include <stdarg.h>

#include "simulator/simulated_device.h"

using atd::sim::SimulatedDevice;

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int result = SimulatedDevice::current().logs.write(LOG_ID_MAIN, priority, tag, format, arguments);
  va_end(arguments);
  return result;
}

int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int result = SimulatedDevice::current().logs.write(buffer, priority, tag, format, arguments);
  va_end(arguments);
  return result;
}
