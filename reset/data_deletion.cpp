#include "reset/data_deletion.h"

#include <string.h>

#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "storage/tree_walk.h"

using namespace atd;

namespace {

constexpr char kData[] = "/data";
constexpr char kService[] = "sys.tav.factory_delete";

constexpr int kLooks = 20;
constexpr uint64_t kBetweenLooksUs = 250000;

bool is_done() {
  char value[PROPERTY_VALUE_MAX] = "";
  system_property_get(kService, value);
  return strcmp(value, "0") == 0;
}

bool run_service() {
  // Where it cannot be started, the property may read "0" from before.
  if (system_property_set(kService, "1") != 0) return false;
  for (int look = 0; look < kLooks; ++look) {
    os_sleep_us(kBetweenLooksUs);
    if (is_done()) return true;
  }
  return false;
}

// Calls `visit` with the path of everything below a folder.
template <typename Visit>
void walk(const char* who, const char* path, Visit visit) {
  TreeWalk tree(who, path);
  for (TreeWalk::Step step; (step = tree.next()) != TreeWalk::Step::end;) {
    if (step != TreeWalk::Step::file && step != TreeWalk::Step::folder) continue;
    visit(tree.path());
    if (step == TreeWalk::Step::folder) tree.enter();
  }
}

}  // namespace

int factory_delete() {
  const bool has_run = is_done();
  const int before = has_run ? 0 : dir_count(kData);
  const bool done = run_service();
  os_sync();
  if (!done) {
    SLOGE("sys.tav.factory_delete property Error! check the factory_delete rc porting.\n");
    return 1;
  }
  if (has_run) SLOGI("Skip the dir_count check\n");
  else if (dir_count(kData) >= before) {
    SLOGE("remaining_dir_count diffent Error! check the factory_delete fwx porting.\n");
    return 1;
  }
  SLOGI("factory_delete_result\n");
  dir_print(kData);
  return 0;
}

int dir_count(const char* path) {
  int count = 0;
  walk("dir_count", path, [&](const char*) { ++count; });
  return count;
}

void dir_print(const char* path) {
  walk("dir_print", path, [](const char* entry) { SLOGI("%s\n", entry); });
}
