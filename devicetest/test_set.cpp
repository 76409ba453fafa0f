#include "devicetest/test_set.h"

#include <string.h>

#include "devicetest/stored_text.h"
#include "devicetest/tokens.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/log.h"
#include "platform/properties.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char AAT_SET_DEFAULT[] =
    "1,1211,2,11,1,21,2,21,1,1,222,1,131,331122,22,2,2212,2,1,11222,2,2111,11,1,2,2,12,1,3,2,2,2,2,2";

constexpr int kNfcTest = 17;

bool is_partial(const char* set) { return strchr(set, '0') != nullptr; }

// Whether the new set may take the place of the old one; *any_on tells whether a sub-test that is switched on was seen.
bool is_change_allowed(const char* old_set, const char* new_set, bool* any_on) {
  const size_t old_length = strlen(old_set), new_length = strlen(new_set);
  if (old_length != new_length) {
    SLOGE("bad_parameter, OLD AATSET LEN: %d, NEW AATSET LEN: %d", static_cast<int>(old_length),
          static_cast<int>(new_length));
    return false;
  }
  const Tokens old(old_set), groups(new_set);
  for (int i = 0; i < groups.count || i < old.count; ++i) {
    const Token &before = old.at[i], &after = groups.at[i];
    if (before.length != after.length) {
      SLOGE("bad_parameter, different subset length!");
      return false;
    }
    for (size_t k = 0; k < after.length; ++k) {
      const char digit = after.text[k];
      if (digit < '0' || digit > '7') {
        SLOGE("bad_parameter, invalid input!");
        return false;
      }
      if ((digit == '2') != (before.text[k] == '2')) {
        SLOGE("bad_parameter, not allowed changed!");
        return false;
      }
      if (strchr("1346", digit)) *any_on = true;
    }
  }
  return true;
}

// The value of a result's first character: 0, 1, or 2 for any other; -1 when the item cannot be read.
int check_first_character(const FactoryItem& item) {
  char result[2];
  if (read_stored(item, result) != 0) {
    SLOGE("cannot read the %s", item.name);
    return -1;
  }
  if (result[0] == '0') return 0;
  return result[0] == '1' ? 1 : 2;
}

void log_model(const char* what, const char* model) {
  char product[PROPERTY_VALUE_MAX] = "";
  system_property_get("ro.build.product", product);
  SLOGI("%s, target product : %s, model : %s", what, product, model);
}

}  // namespace

int read_aatset(char* dest) {
  char set[kStoredTextSize];
  if (read_stored(item<17>, set) != 0) {
    SLOGE("AATSET_TEST_READ read fail \n");
    return 1;
  }
  if (set[0] == '\0') {
    append(dest, AAT_SET_DEFAULT);
    SLOGI("AATSET_TEST_READ, read default aatset: [%s]\n", AAT_SET_DEFAULT);
    return 0;
  }
  if (!strchr(set, ',')) {
    SLOGE("AATSET_TEST_READ invalid aatset: [%s]\n", set);
    return 1;
  }
  append(dest, set);
  SLOGI("AATSET_TEST_READ aatset: [%s]\n", set);
  return 0;
}

int write_aatset(const char* newSet) {
  char old_set[kStoredTextSize];
  if (read_stored(item<17>, old_set) != 0 || old_set[0] == '\0') {
    memcpy(old_set, AAT_SET_DEFAULT, sizeof AAT_SET_DEFAULT);
    SLOGI("AATSET_TEST_WRITE read old AATSET(Default): [%s]\n", old_set);
  } else {
    SLOGI("AATSET_TEST_WRITE read old AATSET(MISC): [%s]\n", old_set);
  }
  bool any_on = false;
  const bool allowed = is_change_allowed(old_set, newSet, &any_on);
  if (!any_on) SLOGE("bad_parameter, have not any 1 or 3 or 4 or 6!");
  if (!allowed || !any_on) {
    SLOGE("AATSET_TEST_WRITE bad parameter\n");
    return 1;
  }
  // The item takes 128 bytes, more than the caller may have.
  char set[kStoredTextSize] = {};
  memcpy(set, newSet, strlen(newSet));
  if (set_aatset(set) != 0) {
    SLOGE("AATSET_TEST_WRITE write fail invalid data[%s]\n", set);
    return 1;
  }
  SLOGI("AATSET_TEST_WRITE write ok valid data\n");
  if (strcmp(old_set, set) != 0) {
    SLOGI("AAT AATSET_TEST_WRITE Set Data Changed \n");
    if (isSamePartialSet(set) != 1) resetTestResult();
  } else {
    SLOGI("AAT AATSET_TEST_WRITE Set Data No Changed \n");
  }
  savePartialAATSet(set);
  return 0;
}

int aat_full() {
  char defaults[kStoredTextSize] = "", stored[kStoredTextSize], order[kStoredTextSize];
  get_aatset_by_xml(defaults);
  if (read_stored(item<17>, stored) != 0) SLOGE("fail to get old aatset");
  if (strlen(stored) != strlen(defaults)) {
    SLOGE("aatset's length is different (default: %d, stored: %d) \n", static_cast<int>(strlen(defaults)),
          static_cast<int>(strlen(stored)));
    return 1;
  }
  if (read_stored(item<25>, order) != 0) {
    SLOGE("fail to get_aat_test_order \n");
    return 1;
  }
  if (order[0] == '\0') {
    SLOGE("aatorder's length is zero \n");
    return 1;
  }
  const Tokens groups(defaults), tokens(order);
  char set[kStoredTextSize] = {};
  TextWriter out(set);
  // All 64 places count: those past the last item add their commas.
  for (int i = 0; i < kTokensMax; ++i) {
    const int number = i < tokens.count ? to_number(tokens.at[i]) : 0;
    if (number >= 1 && number <= groups.count) out.bytes(groups.at[number - 1].text, groups.at[number - 1].length);
    if (i < kTokensMax - 1) out.put(',');
  }
  if (out.cut() || set_aatset(set) != 0) {
    SLOGE("AATSET_TEST_FULL write fail \n");
    return 1;
  }
  SLOGI("AATSET_TEST_FULL write ok: [%s]\n", set);
  return 0;
}

int get_aatset_by_xml(char* dest) {
  char model[PROPERTY_VALUE_MAX] = "";
  system_property_get("ro.model.name", model);
  SLOGI("get_aatset_by_xml, model : %s", model);
  memcpy(dest, AAT_SET_DEFAULT, sizeof AAT_SET_DEFAULT);
  // The built-in set has no NFC test either; another one may.
  if (get_nfc_feature_from_property() == -10) dest[get_test_item_offset(kNfcTest)] = '2';
  return 0;
}

int get_test_item_offset(int item) {
  const Tokens groups(AAT_SET_DEFAULT);
  int offset = 0;
  for (int i = 0; i < groups.count && i + 1 != item; ++i) offset += static_cast<int>(groups.at[i].length) + 1;
  SLOGI("get_test_item_offset, offset: %d", offset);
  return offset;
}

int savePartialAATSet(char* set) {
  if (!set || !is_partial(set)) return 0;
  char text[kStoredTextSize] = "";
  append(text, set);
  if (write_item(item<44>, text) < 0) {
    SLOGE("AAT savePartialAATSet, Write Fail aatSetData = %s ", set);
    return 0;
  }
  SLOGI("AAT savePartialAATSet, Write Success aatSetData = %s ", set);
  return 1;
}

int isSamePartialSet(char* set) {
  char last[kStoredTextSize];
  if (!set || !is_partial(set) || read_stored(item<44>, last) != 0 || strcmp(set, last) != 0) return 0;
  SLOGI("AAT isSamePartialSet, Same SET Data Save try ");
  return 1;
}

int resetTestResult() {
  SLOGI("resetTestResult");
  char set[kStoredTextSize];
  if (read_stored(item<17>, set) != 0 || !strchr(set, '0') || !strchr(set, '1')) return 0;
  char result[item<7>.length + 1] = {};
  if (read_item(item<7>, result) < 0) {
    SLOGE("resetTestResult: cannot read item 7");
    return -1;
  }
  result[0] = '1';
  for (size_t i = 2; i < strlen(result); ++i) {
    if (result[i] == '0' || result[i] == '1') result[i] = '7';
  }
  if (write_item(item<7>, result) < 0 || read_item(item<7>, result) < 0) {
    SLOGE("resetTestResult: cannot write item 7");
    return -1;
  }
  return 0;
}

int check_selfd_result() { return check_first_character(item<45>); }
int check_selfd_E_result() { return check_first_character(item<97>); }

int reset_selfd_result(const char* curSet, const char* newSet) {
  if (strcmp(curSet, newSet) == 0) return 0;
  const int selfd = check_selfd_result(), second = check_selfd_E_result();
  if ((selfd == 0 || selfd == 1) && (second == 0 || second == 1)) {
    SLOGI("Do not reset_selfd_result because this phone is produced by H2.0. selfd result : %d, H2.0 result : %d",
          selfd, second);
    return 0;
  }
  // A current set that ends earlier differs by its terminator from there on.
  const size_t current_length = strlen(curSet);
  for (size_t i = 0; newSet[i] != '\0'; ++i) {
    const char before = i < current_length ? curSet[i] : '\0', after = newSet[i];
    if (before == after) continue;
    SLOGI("reset_selfd_result, cur_aatset[%d]: %c, new_set[%d]: %c", static_cast<int>(i), before, static_cast<int>(i),
          after);
    const bool was_involved = before == '4' || before == '5', is_involved = after == '4' || after == '5';
    if (was_involved && !is_involved && after != '3') return 1;
    if (!was_involved && before != '3' && is_involved) return 1;
  }
  return 0;
}

int get_nfc_feature_from_property() {
  char value[PROPERTY_VALUE_MAX];
  property_get("tav.nfc.vendor", value, "exception");
  return strncmp(value, "exception", 9) == 0 || strncmp(value, "none", 4) == 0 ? -10 : 1;
}

int get_fmradio_feature_from_property() {
  char value[PROPERTY_VALUE_MAX];
  property_get("ro.tav.fmradio", value, "exception");
  if (value[0] == '1') return 1;
  return value[0] == '0' ? -1 : 0;
}

int get_fmradio_feature_from_version(const char* model) {
  log_model("get_fmradio_feature_from_version", model);
  SLOGI("non-global");
  return 0;
}

int get_dtv_feature_from_version(const char* model) {
  log_model("get_dtv_feature_from_version", model);
  SLOGI("non-global, don't care");
  return 0;
}
