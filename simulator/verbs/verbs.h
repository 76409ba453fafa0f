// The verbs of each part of the phone.
#pragma once

#include <span>

#include "desk/verb.h"

namespace atd::sim {

std::span<const Verb> phone_rows();
std::span<const Verb> phone_file_rows();
std::span<const Verb> log_rows();
std::span<const Verb> property_rows();
std::span<const Verb> item_rows();
std::span<const Verb> input_rows();
std::span<const Verb> modem_rows();
std::span<const Verb> fingerprint_rows();
std::span<const Verb> bluetooth_rows();
std::span<const Verb> usb_rows();
std::span<const Verb> deletion_rows();
std::span<const Verb> battery_rows();
std::span<const Verb> display_rows();
std::span<const Verb> program_rows();
std::span<const Verb> call_rows();
std::span<const Verb> card_rows();
std::span<const Verb> fault_rows();

}  // namespace atd::sim
