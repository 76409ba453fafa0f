#include "simulator/tools.h"

#include <android/log.h>
#include <errno.h>
#include <inttypes.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "simulator/files.h"

namespace atd::sim {

namespace {

// A script finds the phone from where it lies itself. It takes no link and no pipe for a file of the phone.
constexpr const char* kGetprop = R"sh(#!/bin/sh
# getprop [NAME [DEFAULT]]: one property, or all.
root=$(readlink -f "$0"); root=${root%/system/bin/*}
for d in data/property dev/__properties__; do
  [ "$(readlink -f "$root/$d")" = "$root/$d" ] || { echo "getprop: no folder $root/$d" >&2; exit 1; }
done
is_file() { [ -f "$1" ] && [ ! -L "$1" ]; }
if [ $# -eq 0 ]; then
  for f in "$root"/dev/__properties__/* "$root"/data/property/*; do
    # A property that is being set has a second file for a moment.
    case $f in *.new~*) continue ;; esac
    is_file "$f" && printf '[%s]: [%s]\n' "${f##*/}" "$(cat "$f")"
  done
  exit 0
fi
case $1 in */*) f= ;; persist.*) f=$root/data/property/$1 ;; *) f=$root/dev/__properties__/$1 ;; esac
if is_file "$f" && [ -s "$f" ]; then printf '%s\n' "$(cat "$f")"; else printf '%s\n' "$2"; fi
)sh";

constexpr const char* kSetprop = R"sh(#!/bin/sh
# setprop NAME VALUE
root=$(readlink -f "$0"); root=${root%/system/bin/*}
case $1 in ''|*/*|ro.*) d= ;; persist.*) d=data/property ;; *) d=dev/__properties__ ;; esac
f=$root/$d/$1
if [ -z "$d" ] || [ "$(readlink -f "$f")" != "$f" ] || { [ -e "$f" ] && [ ! -f "$f" ]; }; then
  echo "setprop: failed to set property '$1' to '$2'" >&2
  exit 1
fi
printf '%s\n' "$2" > "$f"
)sh";

constexpr const char* kLogcat = R"sh(#!/bin/sh
# logcat [-b BUFFER]... [-d] [-c] [-v FORMAT] [-f FILE [-r KB] [-n COUNT]]: the buffers main, system and crash, or those
# named; without -d it goes on with new lines until it is ended; -c empties them instead. FORMAT: threadtime, time,
# brief, tag, raw. With -d and -r, what is over KB moves to FILE.1 and so on, to FILE.COUNT at most.
root=$(readlink -f "$0"); root=${root%/system/bin/*}
log=$root/dev/log
[ "$(readlink -f "$log")" = "$log" ] || { echo "logcat: no folder $log" >&2; exit 1; }
set -f
buffers= clear= dump= out= kb= count=4 form=
while [ $# -gt 0 ]; do
  case $1 in
    -b) buffers="$buffers $(echo "$2" | tr , ' ')"; shift ;;
    -c) clear=1 ;;
    -d) dump=1 ;;
    -f) out=$2; shift ;;
    -v)
      head='^(.{18}) ( *[0-9]+) +[0-9]+ (.) ([^:]*): ' pad='(.{8}[^ ]*) *\('
      case $2 in
        threadtime) form= ;;
        time) form="s/$head/\\1 \\3\/\\4        (\\2): /; s/^(.{19}..)$pad/\\1\\2(/" ;;
        brief) form="s/$head/\\3\/\\4        (\\2): /; s/^(..)$pad/\\1\\2(/" ;;
        tag) form="s/$head/\\3\/\\4        : /; s/^(..)(.{8}[^ ]*) *: /\\1\\2: /" ;;
        raw) form="s/$head//" ;;
        *) echo "logcat: no format $2" >&2; exit 1 ;;
      esac
      shift ;;
    -r|-n)
      case $2 in ''|0*|*[!0-9]*) echo "logcat: $1 $2 is not a number" >&2; exit 1 ;; esac
      if [ "$1" = -r ]; then kb=$2; else count=$2; fi
      shift ;;
    *) echo "logcat: unknown argument $1; known: -b BUFFER, -d, -c, -v FORMAT, -f FILE, -r KB, -n COUNT" >&2; exit 1 ;;
  esac
  shift
done
set --
for b in ${buffers:-main system crash}; do
  case $b in main|radio|events|system|crash|packet) ;; *) echo "logcat: no buffer $b" >&2; exit 1 ;; esac
  for f in "$log/$b.1" "$log/$b" "$log/.$b"; do
    if [ -L "$f" ] || { [ -e "$f" ] && [ ! -f "$f" ]; }; then echo "logcat: $f is not a file" >&2; exit 1; fi
  done
  set -- "$@" "$b"
done
if [ -n "$clear" ]; then
  for b; do rm -f "$log/$b.1"; [ ! -e "$log/$b" ] || : > "$log/$b"; done
  exit 0
fi
fresh() { [ ! -e "$log/.$1" ] || tr -d '\000' < "$log/.$1"; }
as() { if [ -n "$form" ]; then sed -u -E "$form"; else cat; fi; }
dump() {
  for b; do
    [ -e "$log/$b" ] || continue
    echo "--------- beginning of $b"
    # A phone that runs moves its last moment's lines to the file. What stays is of one that was killed.
    left=$(fresh "$b")
    [ -z "$left" ] || { sleep 0.05; case $(fresh "$b") in "$left"*) ;; *) left= ;; esac; }
    cat "$log/$b.1" "$log/$b" 2>/dev/null | as
    [ -z "$left" ] || printf '%s\n' "$left" | as
  done
}
if [ -n "$dump" ] && [ -n "$out" ] && [ -n "$kb" ]; then
  # The oldest lines are in the first piece, and belong into the last file.
  work=$(mktemp -d "$out.XXXXXX") || exit 1
  trap 'rm -rf "$work"' EXIT
  { cat "$out" 2>/dev/null; dump "$@"; } | split -C "${kb}k" -a 6 -d - "$work/" || exit 1
  set +f
  set -- "$work"/*
  [ -e "$1" ] || { : >> "$out"; exit; }
  status=0
  for piece; do
    left=$(($# - 1)); shift
    [ $left -le "$count" ] || continue
    if [ $left -eq 0 ]; then cat "$piece" > "$out" || status=1; continue; fi
    rm -f "$out.$left"  # it may be a link
    cat "$piece" > "$out.$left" || status=1
  done
  exit $status
fi
if [ -n "$out" ]; then exec >> "$out" || exit 1; fi
if [ -n "$dump" ]; then dump "$@"; exit; fi
for b; do
  shift
  cat "$log/$b.1" 2>/dev/null | as
  set -- "$@" "$log/$b"
done
[ -n "$form" ] || exec tail -q -n +1 -F "$@" 2>/dev/null
tail --pid=$$ -q -n +1 -F "$@" 2>/dev/null | as
)sh";

constexpr const char* kDmesg = R"sh(#!/bin/sh
# dmesg: the kernel's log: how it has booted, then the lines of dev/kmsg, a file that a person may write.
root=$(readlink -f "$0"); root=${root%/system/bin/*}
is_file() { [ "$(readlink -f "$1")" = "$1" ] && [ -f "$1" ]; }
say() { printf '[%12s] %s\n' "$@"; }
memory=3881456
is_file "$root/proc/meminfo" && read -r _ memory _ < "$root/proc/meminfo"
say 0.000000 'Booting Linux on physical CPU 0x0'
say 0.000000 'Linux version 3.18.71-sim (build@sim) (gcc version 4.9.x) #1 SMP PREEMPT Thu Jan 1 00:00:00 UTC 2026'
say 0.000000 'CPU: ARMv7 Processor [410fd032] revision 2 (ARMv7), cr=10c5383d'
is_file "$root/proc/cmdline" && say 0.000000 "Kernel command line: $(cat "$root/proc/cmdline")"
say 0.000000 "Memory: ${memory}K available (12288K kernel code, 1436K rwdata, 5120K rodata)"
say 0.214562 'CPU: All CPU(s) started in SVC mode.'
say 0.873104 'pmic-arb: power-on reason 0x80 (power key)'
say 1.482210 'scsi 0:0:0:0: Direct-Access     SIM      UFS              0100 PQ: 0 ANSI: 6'
say 1.935127 'input: tav_touch as /devices/virtual/input/input2'
say 2.604481 'EXT4-fs (sda12): mounted filesystem with ordered data mode'
say 3.120977 'init: init first stage started!'
say 5.771034 'android_usb: gadget configured'
if is_file "$root/dev/kmsg"; then cat "$root/dev/kmsg"; fi
)sh";

constexpr const char* kPm = R"sh(#!/bin/sh
# pm install [-r] PACKAGE: puts a package into data/app.
root=$(readlink -f "$0"); root=${root%/system/bin/*}
for package; do :; done
case $1 in
  install) ;;
  *) echo "pm: unknown command '$1'; known: install" >&2; exit 1 ;;
esac
[ -f "$package" ] || { echo "pm: no package $package" >&2; exit 1; }
app=$root/data/app
[ "$(readlink -f "$root/data")" = "$root/data" ] && mkdir -p "$app" && [ "$(readlink -f "$app")" = "$app" ] ||
  { echo "pm: no folder $app" >&2; exit 1; }
cp -T --remove-destination "$package" "$app/${package##*/}" && echo Success
)sh";

constexpr const char* kAm = R"sh(#!/bin/sh
# am start -n COMPONENT, am broadcast -a ACTION -n COMPONENT: says what it would start or send. The daemon carries out
# the master clear when it runs this itself.
case $1 in
  start) shift; echo "Starting: Intent { $* }" ;;
  broadcast) shift; echo "Broadcasting: Intent { $* }"; echo "Broadcast completed: result=0" ;;
  *) echo "am: unknown command '$1'; known: start, broadcast" >&2; exit 1 ;;
esac
)sh";

constexpr const char* kScreencap = R"sh(#!/bin/sh
# screencap [-p] [FILE]: what the screen of the running phone shows, as a raw image, or as PNG with -p and for a FILE
# named *.png. Without FILE it goes to standard output. When the daemon runs this it draws the picture itself.
root=$(readlink -f "$0"); root=${root%/system/bin/*}
form=raw
if [ "$1" = -p ]; then form=png; shift; fi
case $1 in
  -*) echo "screencap: unknown argument $1; known: -p" >&2; exit 1 ;;
  *.png) form=png ;;
esac
# The client lies beside the daemon that runs the phone, or on the program path.
daemon=$(readlink "/proc/$(cat "$root/sim/lock" 2>/dev/null)/exe") || { echo "screencap: the phone is off" >&2; exit 1; }
client=${daemon%/*}/atdctl
[ -x "$client" ] || client=atdctl
file=$("$client" --device "$root" phone display picture $form) || exit 1
if [ -n "$1" ]; then exec cp -T -- "$file" "$1"; fi
exec cat -- "$file"
)sh";

constexpr Tool kTools[] = {
    {"am", Paths::none, "", nullptr, kAm},
    {"cat", Paths::followed, "", nullptr, nullptr},
    {"chmod", Paths::followed, "Rf", nullptr, nullptr},
    {"cp", Paths::followed, "Rafpr", "--remove-destination", nullptr},  // without it, it writes through links
    {"echo", Paths::none, "", nullptr, nullptr},
    {"ls", Paths::followed, "1AFRadhlrst", nullptr, nullptr},
    {"mkdir", Paths::followed, "p", nullptr, nullptr},
    {"rm", Paths::itself, "Rfr", nullptr, nullptr},
    {"rmdir", Paths::itself, "p", nullptr, nullptr},
    {"pm", Paths::followed, "r", nullptr, kPm},
    {"getprop", Paths::none, "", nullptr, kGetprop},
    {"setprop", Paths::none, "", nullptr, kSetprop},
    {"screencap", Paths::followed, "p", nullptr, kScreencap},
    {"logcat", Paths::followed, "bcdfnrv", nullptr, kLogcat},
    {"dmesg", Paths::none, "", nullptr, kDmesg},
};

// The last line of a script begins with this; then comes the sum of the text before it.
constexpr const char* kMark = "# The phone renews this file at boot while nobody has edited it: ";

// The sums of what the first version has installed, without a mark.
constexpr uint64_t kUnmarked[] = {0xead1e6dff487aeb8, 0x80cd168693d4ed67, 0xe90d7684e5b45873};

// FNV-1a.
uint64_t sum(const std::string& text) {
  uint64_t result = 0xcbf29ce484222325;
  for (const char c : text) result = (result ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  return result;
}

std::string marked(const std::string& script) {
  char digits[32];
  snprintf(digits, sizeof digits, "%016" PRIx64 "\n", sum(script));
  return script + kMark + digits;
}

bool is_unedited(const std::string& text) {
  const size_t mark = text.rfind(kMark);
  if (mark != text.npos) return text == marked(text.substr(0, mark));
  return std::find(std::begin(kUnmarked), std::end(kUnmarked), sum(text)) != std::end(kUnmarked);
}

void install_script(const std::string& path, const Tool& tool) {
  const std::string text = marked(tool.script);
  std::string there;
  if (read_file(path, &there)) {
    // One of another mode was left by a kill.
    if (there == text && access(path.c_str(), X_OK) != 0 && chmod(path.c_str(), 0755) == 0) return;
    if (there == text || !is_unedited(there)) return;
  }
  if (write_file(path, text) && chmod(path.c_str(), 0755) == 0) return;
  __android_log_print(ANDROID_LOG_ERROR, "shell", "system/bin/%s: %s", tool.name, strerror(errno));
}

}  // namespace

bool is_installed(const std::string& file) {
  std::string text;
  return read_file(file, &text) && is_unedited(text);
}

const Tool* find_tool(const std::string& name) {
  const auto found = std::find_if(std::begin(kTools), std::end(kTools), [&](const Tool& t) { return name == t.name; });
  return found == std::end(kTools) ? nullptr : found;
}

std::string desktop_program(const std::string& link) {
  char target[PATH_MAX];
  const ssize_t length = readlink(link.c_str(), target, sizeof target);
  const std::string text(target, length < 0 ? 0 : static_cast<size_t>(length));
  for (const Tool& tool : kTools) {
    if (tool.script || (text != std::string("/bin/") + tool.name && text != std::string("/usr/bin/") + tool.name)) {
      continue;
    }
    // The phone may come from a machine that has it in the other folder.
    for (const char* folder : {"/bin/", "/usr/bin/"}) {
      if (access((folder + std::string(tool.name)).c_str(), X_OK) == 0) return folder + std::string(tool.name);
    }
  }
  return "";
}

void install_tools(const std::string& root) {
  for (const Tool& tool : kTools) {
    const std::string path = root + "/system/bin/" + tool.name;
    if (tool.script) install_script(path, tool);
    else if (symlink((std::string("/bin/") + tool.name).c_str(), path.c_str()) != 0 && errno != EEXIST) {
      __android_log_print(ANDROID_LOG_ERROR, "shell", "system/bin/%s: %s", tool.name, strerror(errno));
    }
  }
}

}  // namespace atd::sim
