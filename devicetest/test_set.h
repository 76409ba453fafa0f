// The set of the automatic test: which sub-tests of each of its items are switched on.
//
// A set is a text of at most 127 digits and commas: a group of digits for each test item, in the order of the test
// order. "0" switches a sub-test off, "2" marks one that this device does not have. A set with a "0" is a partial set.
// Failures are 1 where nothing else is said, and are logged.
#pragma once

#pragma GCC visibility push(default)

// Appends the stored set to the text in `dest` (128 bytes), the default set where none is stored; 0, or 1 when it
// cannot be read or is not a list.
int read_aatset(char* dest);

// Stores a set. It must have the groups' lengths of the stored one, digits from 0 to 7, "2" just where that one has it,
// and a sub-test that is switched on. A change to a set with "0" and "1" marks the results to be run again, unless it
// is the partial set that was kept last. 0, or 1 with nothing stored.
int write_aatset(const char* newSet);

// Stores the default groups in the stored order, followed by the commas of the empty places up to 64; 0, or 1 when the
// stored set has another length, or cannot be read or written.
int aat_full();

// The device's default set, in `dest` (128 bytes); 0.
int get_aatset_by_xml(char* dest);

// The place of a test item's group in the default set, in characters; 96, behind the last one, for an unknown item.
int get_test_item_offset(int item);

// Keeps a partial set in item 44; 1 when it was written, else 0.
int savePartialAATSet(char* set);

// 1 when the set is the partial set that is kept, else 0.
int isSamePartialSet(char* set);

// Marks the results of a partial set to be run again; 0, or -1 when item 7 cannot be read or written.
int resetTestResult();

// The self-diagnosis result, and that of the second stage: 0 or 1, 2 for any other text, -1 when it cannot be read.
int check_selfd_result();
int check_selfd_E_result();

// 1 when a change from one set to another makes the self-diagnosis result void, else 0.
int reset_selfd_result(const char* curSet, const char* newSet);

// -10 when the device has no NFC, else 1.
int get_nfc_feature_from_property();

// 1 when the device has an FM radio, -1 when it has none, 0 when it does not say.
int get_fmradio_feature_from_property();

// Log the product and the model; 0.
int get_fmradio_feature_from_version(const char* model);
int get_dtv_feature_from_version(const char* model);

#pragma GCC visibility pop
