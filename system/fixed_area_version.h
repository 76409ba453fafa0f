// The version of the fixed software area: the build identifiers of its parts, as text in factory item 31.
#pragma once

#pragma GCC visibility push(default)

// Puts what the phone's images say into out (50 bytes): the identifiers of AP, CP, customer and user data, 11
// characters each, with '-' after each, and the user data's flag. A shorter identifier is filled up with 'F'. Sets
// *length to 49 and returns 0; 1 without an identifier of the user data, for which there are 'F's; 1 with *length 0 and
// the empty text without one of AP or customer.
int get_tav_factory_sw_fixed_area_version(char* out, int* length);

// Copies the identifiers that differ to the item, or the default where the phone has none; 0, or 1 when the item cannot
// be read or written.
int system_update_settings_from_cust();

// The character of the user data's flag in the item, '1' once it was updated; '0' when it cannot be read.
int get_swfv_userdata_flag();

// Sets the flag; 0, or 1 when the item cannot be read or written.
int update_swfv_userdata_flag();

// 1 where the phone has an operator's image, else 0.
int is_op_image_support();

#pragma GCC visibility pop
