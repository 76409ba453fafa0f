#include "devicetest/test_order.h"

#include <string.h>

#include "devicetest/stored_text.h"
#include "devicetest/tokens.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/log.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// Whether the new tokens are those of the old order, each once.
bool is_permutation(const Tokens& tokens, const Tokens& old) {
  for (int i = 0; i < tokens.count; ++i) {
    bool repeats = tokens.find(tokens.at[i]) != i;
    if (repeats) SLOGE("AATSET_TEST_ORDER_WRITE duplicated order data is error \n");
    if (repeats || old.find(tokens.at[i]) < 0) return false;
  }
  return tokens.count == old.count;
}

}  // namespace

int read_aatorder(char* dest) {
  char order[kStoredTextSize];
  if (read_stored(item<25>, order) != 0) {
    SLOGE("AATSET_TEST_ORDER_READ read fail \n");
    return 1;
  }
  if (order[0] == '\0') {
    SLOGE("AATSET_TEST_ORDER_READ data_len is zero \n");
    return 1;
  }
  if (!strchr(order, ',')) {
    SLOGE("AATSET_TEST_ORDER_READ read ok invalid data[%s]\n", order);
    return 1;
  }
  append(dest, order);
  SLOGI("AATSET_TEST_ORDER_READ aatorder: [%s]\n", order);
  return 0;
}

int get_this_order(unsigned index, char* dst) {
  char order[kStoredTextSize] = "";
  if (read_aatorder(order) != 0) return 1;
  const Tokens tokens(order);
  if (index >= static_cast<unsigned>(tokens.count)) return 1;
  TextWriter(dst, 8).bytes(tokens.at[index].text, tokens.at[index].length);
  return 0;
}

int write_aatorder(const char* newOrder) {
  char old_order[kStoredTextSize];
  if (read_stored(item<25>, old_order) != 0) {
    SLOGE("AATORDER_TEST_WRITE fail to read \n");
    return 1;
  }
  if (old_order[0] == '\0') {
    SLOGE("AATORDER_TEST_WRITE old_aatorder_data's length is zero \n");
    return 1;
  }
  SLOGI("AATORDER_TEST_WRITE read old AATORDER[%s]\n", old_order);

  char new_order[kStoredTextSize] = {};
  TextWriter(new_order).text(newOrder);
  const Tokens old(old_order), tokens(new_order);
  bool bad = false;
  if (strlen(newOrder) != strlen(old_order)) {
    SLOGE("bad_parameter, OLD AATORDER LEN: %d, NEW AATORDER LEN: %d", static_cast<int>(strlen(old_order)),
          static_cast<int>(strlen(newOrder)));
    bad = true;
  }
  if (!is_permutation(tokens, old)) {
    SLOGE("AATSET_TEST_ORDER_WRITE new order data is incorrect \n");
    bad = true;
  }

  char set[kStoredTextSize];
  if (read_stored(item<17>, set) != 0) {
    SLOGE("AATSET_TEST_WRITE fail to get_aatset \n");
    bad = true;
  } else if (set[0] == '\0') {
    SLOGE("AATSET_TEST_WRITE old_aatset_data's length is zero \n");
    bad = true;
  }
  if (bad) {
    SLOGE("AATORDER_TEST_WRITE bad parameter\n");
    return 1;
  }

  if (set_aat_test_order(new_order) != 0) {
    SLOGE("AATORDER_TEST_WRITE write fail invalid data[%s]\n", new_order);
    return 1;
  }
  SLOGI("AATORDER_TEST_WRITE write ok: [%s] \n", new_order);

  const Tokens groups(set);
  char rearranged[kStoredTextSize] = {};
  TextWriter out(rearranged);
  for (int i = 0; i < tokens.count; ++i) {
    if (i > 0) out.put(',');
    const Token& group = groups.at[old.find(tokens.at[i])];
    out.bytes(group.text, group.length);
  }
  // Empty groups of a set that has fewer than the order can make it too long.
  if (out.cut() || set_aatset(rearranged) != 0) {
    SLOGE("AATSET_TEST_FULL write Changed SET data fail [%s]\n", rearranged);
    return 1;
  }
  SLOGI("AATSET_TEST_FULL write Changed SET data ok [%s]\n", rearranged);
  return 0;
}

int parsing_str_by_comma(char** out, const char* text) {
  char list[129];
  TextWriter(list).text(text);
  const Tokens tokens(list);
  for (int i = 0; i < tokens.count; ++i)
    TextWriter(out[i], tokens.at[i].length + 1).bytes(tokens.at[i].text, tokens.at[i].length);
  return 0;
}
