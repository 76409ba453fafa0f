// The versions that the phone tells of itself, from properties. A failure leaves the empty text and length 0.
#pragma once

#pragma GCC visibility push(default)

// Puts the factory software version into out (128 bytes) and its length into *length; 0, or 1 when a property of it is
// not set. The type makes no difference.
int get_tav_factory_sw_version(int type, char* out, int* length);

// Puts the Android version into out (92 bytes) and its length into *length; 0, or 1 when it is not set.
int get_tav_android_sw_version(char* out, int* length);

// Puts the binary revision, one or two characters, into out (3 bytes) and its length into *length, "0" for any other;
// always 0.
int get_tav_bynary_revision(char* out, int* length);

// Put the model's name and the build date into out (92 bytes); 0, or -1 when it is not set.
int system_get_model_name(char* out);
int system_get_build_date(char* out);

#pragma GCC visibility pop
