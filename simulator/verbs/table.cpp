#include "desk/verb.h"
#include "simulator/verbs/verbs.h"

const std::vector<atd::Verb>& atd::phone_verbs() {
  static const std::vector<Verb> all = [] {
    std::vector<Verb> verbs;
    for (std::span<const Verb> rows :
         {sim::phone_rows(), sim::phone_file_rows(), sim::log_rows(), sim::property_rows(), sim::item_rows(),
          sim::input_rows(), sim::modem_rows(), sim::card_rows(), sim::fingerprint_rows(), sim::bluetooth_rows(),
          sim::usb_rows(), sim::deletion_rows(), sim::battery_rows(), sim::display_rows(), sim::program_rows(),
          sim::call_rows(), sim::fault_rows()}) {
      verbs.insert(verbs.end(), rows.begin(), rows.end());
    }
    return verbs;
  }();
  return all;
}
