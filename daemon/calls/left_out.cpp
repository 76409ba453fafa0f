// What the library exports and nobody can call by name. scripts/check-calls compares it with the export map.
#include "daemon/calls.h"

namespace atd {

const std::vector<LeftOut>& functions_left_out() {
  static const std::vector<LeftOut> functions = {
      {"init_socket()", "the daemon serves its socket already"},
      {"stop_socket()", "it ends the daemon's service; the simulated phone stops with: atdctl phone stop"},
      {"await_background_work()", "atd call waits by itself, and a daemon goes on"},
      {"Mutex::Mutex()", "a host's own threads use it"},
      {"Mutex::lock()", "a host's own threads use it"},
      {"Mutex::tryLock()", "a host's own threads use it"},
      {"Mutex::unlock()", "a host's own threads use it"},
      {"Mutex::~Mutex()", "a host's own threads use it"},
      {"CondVar::CondVar()", "a host's own threads use it"},
      {"CondVar::notifyOne()", "a host's own threads use it"},
      {"CondVar::wait(Mutex&)", "a host's own threads use it"},
      {"CondVar::wait(Mutex&, long)", "a host's own threads use it"},
      {"CondVar::~CondVar()", "a host's own threads use it"},
      {"report_event(int, int, int, int)", "it takes an open touch device; use ctsa_send_event"},
      {"send_event(int, unsigned short, unsigned short, int)", "it takes an open touch device; use ctsa_send_event"},
      {"do_cmd(int, char const*)", "it takes a connected socket; use SetSDCardMount, SetSDCardUnMount, mmc_mmcformat"},
      {"ReadLine(_IO_FILE*, char*)", "it takes an open file; use read_sysfs"},
      {"read_configure_file(_IO_FILE*, char const*)", "it takes an open file; use check_default_contents"},
      {"do_extract_currentfile(void*, int*, int*, char const*)", "it takes an open archive; use FolderFromZip"},
      {"ScreenCapture::captureScreenFB(int, int, int, int, int)", "a part of it; use captureScreenSF"},
      {"ScreenCapture::deinit()", "it takes a live object, which captureScreenSF has"},
      {"ScreenCapture::getCaptured()", "it tells a place in memory; use saveScreenToFile"},
      {"ScreenCapture::getCapturedSize()", "captureScreen tells the size"},
      {"ScreenCapture::getRectangle16(void const*, void*)", "it takes places in memory; use captureScreen"},
      {"ScreenCapture::getRectangle32(void const*, void*)", "it takes places in memory; use captureScreen"},
      {"ScreenCapture::getRectangleTrue32(void const*, void*)", "it takes places in memory; use captureScreen"},
      {"vtable for ScreenCapture", "its constructor uses it"},
  };
  return functions;
}

}  // namespace atd
