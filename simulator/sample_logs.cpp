#include "simulator/sample_logs.h"

#include <fcntl.h>
#include <unistd.h>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr char kCrash[] =
    "crash 0 01-01 09:12:44\n"
    "# Kernel panic - not syncing: Fatal exception in interrupt\n"
    "CPU: 0 PID: 1812 Comm: kworker/0:2 Tainted: G        W    3.18.71-sim #1\n"
    "[<c01a2f40>] (panic) from [<c010d8e4>] (die+0x3a0/0x3d4)\n"
    "[<c010d8e4>] (die) from [<c01162cc>] (__do_kernel_fault+0x74/0x94)\n";

constexpr struct {
  const char* path;
  const char* content;
} kLogs[] = {
    {"/data/logger/main.log",
     "01-01 09:11:58.204 I/ActivityManager(  912): Start proc 3120:com.sim.camera/u0a41 for activity\n"
     "01-01 09:12:01.771 W/AudioFlinger(  405): write blocked for 172 msecs, 4 delayed writes, thread 0xb3a83000\n"
     "01-01 09:12:03.018 D/TouchService( 1207): firmware TAV_TOUCH_1.0, self test requested\n"
     "01-01 09:12:06.442 E/ActivityManager(  912): ANR in com.sim.camera (com.sim.camera/.CameraActivity)\n"},
    {"/data/logger/system.log",
     "01-01 09:11:40.003 I/PowerManagerService(  912): Waking up from sleep (uid 1000)...\n"
     "01-01 09:12:44.915 W/BatteryService(  912): level 76, voltage 4012 mV, temperature 29.4\n"},
    {"/data/logger/crash_info/crash_log0.txt", kCrash},
    {"/data/anr/traces.txt",
     "----- pid 3120 at 2026-01-01 09:12:06 -----\n"
     "Cmd line: com.sim.camera\n"
     "Build fingerprint: 'sim/SIM-1/sim:8.0.0/V10a/1:user/release-keys'\n"
     "DALVIK THREADS (14):\n"
     "\"main\" prio=5 tid=1 Blocked\n"
     "  | group=\"main\" sCount=1 dsCount=0 obj=0x7475f6b8 self=0xaf374400\n"
     "  at com.sim.camera.CameraActivity.onPause(CameraActivity.java:412)\n"
     "  - waiting to lock <0x0d8e1c2f> held by thread 9\n"
     "----- end 3120 -----\n"},
    {"/data/tombstones/tombstone_00",
     "*** *** *** *** *** *** *** *** *** *** *** *** *** *** *** ***\n"
     "Build fingerprint: 'sim/SIM-1/sim:8.0.0/V10a/1:user/release-keys'\n"
     "ABI: 'arm'\n"
     "pid: 405, tid: 611, name: AudioOut_2  >>> /system/bin/audioserver <<<\n"
     "signal 11 (SIGSEGV), code 1 (SEGV_MAPERR), fault addr 0x10\n"
     "    r0 00000000  r1 b3a83000  r2 000000c0  r3 00000001\n"
     "backtrace:\n"
     "    #00 pc 0004a1c6  /system/lib/libaudioflinger.so\n"
     "    #01 pc 0000e359  /system/lib/libutils.so\n"},
    {"/data/dontpanic/apanic_console",
     "[  812.440127] Unable to handle kernel NULL pointer dereference at virtual address 00000010\n"
     "[  812.440203] Internal error: Oops: 5 [#1] PREEMPT SMP ARM\n"
     "[  812.441590] Kernel panic - not syncing: Fatal exception in interrupt\n"},
    {"/data/touch/touch_self_test.txt",
     "TOUCH SELF TEST 2026-01-01 09:12:03\n"
     "FW_VERSION TAV_TOUCH_1.0\n"
     "CHANNELS TX 16 RX 9\n"
     "RAW_DATA 2412 2398 2405 2421 2417 2409 2402 2396 2411\n"
     "RAW_DATA 2408 2401 2399 2415 2420 2406 2404 2400 2407\n"
     "JITTER 3 2 3 4 2 3 3 2 4\n"
     "OPEN_SHORT PASS\n"
     "RESULT PASS\n"},
};

// Nobody misses what a kill has cut, so no file is replaced whole: a new phone is there sooner.
bool write_log(const std::string& path, const std::string& text) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0660);
  if (fd < 0) return false;
  const bool written = write_rest(fd, text);
  close(fd);
  return written;
}

}  // namespace

bool make_sample_logs(const std::string& root) {
  for (const auto& log : kLogs) {
    const std::string path = resolve(root, log.path), folder = path.substr(0, path.rfind('/'));
    if (path.empty() || (access(folder.c_str(), F_OK) != 0 && !make_folders(folder)) || !write_log(path, log.content)) {
      return false;
    }
  }
  return true;
}

bool make_sample_crash(FactoryItems& items) {
  return items.set_text(231, 7500, std::string(32, '\0') + kCrash) &&
         items.set(230, std::string(8, '\0') + std::string("\x01\0\0\0", 4) + std::string(4, '\0'));
}

}  // namespace atd::sim
