#include "storage/card_contents.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "storage/card_path.h"
#include "storage/default_contents.h"
#include "storage/tree_walk.h"
#include "text/folder.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// Paths on the card, with all that lies below them. Only the check leaves those of the last two alone.
constexpr const char* kSkipped[] = {"RZdefault/Version.txt", ".android_secure", "LOST.DIR"};
constexpr const char* kSkippedByCheck[] = {"Android", "RZBackup"};

template <size_t count>
bool is_one_of(const char* const (&paths)[count], const char* path) {
  for (const char* row : paths) {
    if (strcmp(row, path) == 0) return true;
  }
  return false;
}

// Opens the list of the card whose folder is given; null when it is not there. A link or a pipe in its place would let
// something else decide what is deleted, or hold the caller up for ever.
FILE* open_list(const char* mount_point) {
  const Folder card(mount_point);
  const Folder defaults(card.fd(), "RZdefault");
  const int fd = openat(defaults.fd(), "Version.txt", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat status;
  FILE* list = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) ? fdopen(fd, "r") : nullptr;
  if (!list) close(fd);
  return list;
}

// Finds the card's folder and reads its list; 0, or the failure, reported in the name of `who`: -1 without an id, 1
// without a folder or a list that can be read. Each entry is logged.
int open_card(const char* who, char (&mount_point)[kCardPathSize], DefaultContents& contents) {
  if (!card_path("", mount_point)) return -1;
  struct stat status;
  if (stat(device_path(mount_point), &status) != 0) {
    SLOGE("[%s] Test Failed to get file status (errno %d)", who, errno);
    return 1;
  }
  // The messages with "external_SD" name the folder that a card had in former times.
  if (!S_ISDIR(status.st_mode)) {
    SLOGE("[%s] cannot read /storage/external_SD directory", who);
    return 1;
  }
  FILE* list = open_list(mount_point);
  // With a list that ends at a read error the clean would delete the default contents, too.
  const bool is_read = list && contents.take_over(read_configure_file(list, mount_point)) && ferror(list) == 0;
  if (list) fclose(list);
  if (!is_read) {
    SLOGE("[%s] cannot open /storage/external_SD/RZdefault/Version.txt", who);
    return 1;
  }
  for (const default_content* entry = contents.first(); entry; entry = entry->next) {
    SLOGI("[%s] File path : %s", who, entry->path);
  }
  return 0;
}

enum class Verdict { pass, judge, fail };

// What to do about the entry that a walk came upon. Folders that are not empty are entered, so that a file or an empty
// folder is left to judge.
Verdict look(TreeWalk& walk, TreeWalk::Step step, bool is_check) {
  if (step == TreeWalk::Step::skipped || step == TreeWalk::Step::failed) return Verdict::fail;
  if (is_one_of(kSkipped, walk.relative())) return Verdict::pass;
  if (is_check && is_one_of(kSkippedByCheck, walk.relative())) return Verdict::pass;
  if (step == TreeWalk::Step::file) return Verdict::judge;
  switch (walk.enter()) {
    case TreeWalk::Entered::yes: return Verdict::pass;
    case TreeWalk::Entered::empty: return Verdict::judge;
    case TreeWalk::Entered::failed: break;
  }
  return Verdict::fail;
}

// Removes from the list what is on the card; 0, or 1 for the first entry that the list does not name or that cannot be
// looked at.
int traverse_and_check_directory(const char* root, DefaultContents& contents) {
  TreeWalk walk(__func__, root);
  if (!walk.is_open()) return 1;
  for (TreeWalk::Step step; (step = walk.next()) != TreeWalk::Step::end;) {
    switch (look(walk, step, true)) {
      case Verdict::pass: continue;
      case Verdict::fail: return 1;
      case Verdict::judge: break;
    }
    if (!contents.take(walk.path())) {
      SLOGE("[%s] : Unkwnown file exists: %s", __func__, walk.path());
      return 1;
    }
    SLOGI("[%s] %s is default file", __func__, walk.path());
  }
  return 0;
}

// Deletes what the list does not name; 0, or 1 when an entry cannot be looked at, which is left out, or deleted, which
// ends the walk.
int traverse_and_delete_files(const char* root, DefaultContents& contents) {
  TreeWalk walk(__func__, root);
  if (!walk.is_open()) return 1;
  int result = 0;
  for (TreeWalk::Step step; (step = walk.next()) != TreeWalk::Step::end;) {
    switch (look(walk, step, false)) {
      case Verdict::pass: continue;
      case Verdict::fail: result = 1; continue;
      case Verdict::judge: break;
    }
    if (contents.take(walk.path())) {
      SLOGI("[%s] %s is default file", __func__, walk.path());
    } else if (remove(device_entry(walk.path())) == 0) {
      SLOGI("[%s] : Delete unkwnown file: %s", __func__, walk.path());
    } else {
      SLOGE("[%s] : Can't delete unkwnown file: %s", __func__, walk.path());
      return 1;
    }
  }
  return result;
}

}  // namespace

int check_default_contents() {
  char mount_point[kCardPathSize];
  DefaultContents contents;
  const int failure = open_card(__func__, mount_point, contents);
  if (failure != 0) return failure;
  if (traverse_and_check_directory(mount_point, contents) != 0) return 1;
  for (const default_content* entry = contents.first(); entry; entry = entry->next) {
    SLOGE("[%s] default file (%s) not exist", __func__, entry->path);
  }
  return contents.first() ? 1 : 0;
}

int factory_format() {
  SLOGI("[%s] Start..", __func__);
  char mount_point[kCardPathSize];
  DefaultContents contents;
  const int failure = open_card(__func__, mount_point, contents);
  return failure != 0 ? failure : traverse_and_delete_files(mount_point, contents);
}

int mmc_mmccheckcontents(char*) {
  if (!require_mounted(__func__)) return 1;
  const int result = check_default_contents();
  if (result == 0) SLOGI("[%s] RZCMD_MMC_CHECKCONTENTS:OK", __func__);
  else SLOGE("[%s] RZCMD_MMC_CHECKCONTENTS:FAIL", __func__);
  return result;
}

int mmc_mmcfactoryformat(char* out) {
  const bool done = require_mounted(__func__) && factory_format() == 0;
  TextWriter(out, 2).text(done ? "1" : "0");
  return done ? 0 : 1;
}
