// Factory resets and production resets.
#include "daemon/calls/row.h"

namespace atd {

namespace {

int read_hiddenmenu_frst() { return hiddenmenu_frst; }

}  // namespace

std::vector<Row> reset_calls() {
  return {
      {"hiddenmenu_frst", read_hiddenmenu_frst, "", any, "Tells whether a reset clears the SD card, too: 1, else 0.",
       kInDaemon},
      {FUNCTION(sfactoryreset), "", zero, "Goes on with the factory reset from its present status.", kDestroys},
      {FUNCTION(frst_run), "STATUS", zero, "Runs the step of one factory status.", kDestroys},
      {FUNCTION(frst_modem_data_clear), "", zero, "Has the modem clear its data.", kDestroys},
      {FUNCTION(frst_rzcp_modem_backup), "", zero, "Has the modem make a backup of its data."},
      {FUNCTION(frst_factory_item_clear), "", any, "Clears the factory items of a reset.", kDestroys},
      {FUNCTION(check_setupwizard_complete), "", any, "Waits for the end of the setup wizard at factory status 5."},
      {FUNCTION(factory_reset_callduration_erase), "", any, "Removes the records of call durations.", kDestroys},
      {FUNCTION(hidden_factoryreset), "", zero, "Resets the phone to its factory state, which reboots it.", kDestroys},
      {FUNCTION(hidden_factoryreset_sdcard), "", zero,
       "Erases the SD card and resets the phone to its factory state, which reboots it.", kDestroys | kTakesTurn},
      {FUNCTION(factoryreset_crst), "", zero,
       "Erases the SD card and resets the phone to its factory state on a thread.", kDestroys},
      {FUNCTION(hidden_factoryreset_sdcard_power_off), "", zero,
       "Erases the SD card and, by the deletion service, /data, and switches the phone off.", kDestroys | kTakesTurn},
      {FUNCTION(erase_external_sdcard), "", zero, "Brings the SD card to its default contents, or formats it.",
       kDestroys | kTakesTurn},
      {FUNCTION(factory_delete), "", zero, "Has the deletion service empty /data.", kDestroys},
      {FUNCTION(dir_count), "PATH", any, "Counts what is below a folder."},
      {FUNCTION(dir_print), "PATH", any, "Logs the paths of what is below a folder."},
      {FUNCTION(erase_partition), "", zero, "Erases the cache partition.", kDestroys},
      {FUNCTION(xboot_data_init), "", any, "Erases the cache partition and restarts, where a reset asks for it.",
       kDestroys},
      {FUNCTION(tav_reset_production), "KIND", zero, "Has the modem carry out a production reset.", kDestroys},
  };
}

}  // namespace atd
