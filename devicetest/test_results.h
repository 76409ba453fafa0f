// The results of the automatic test and of its relatives.
#pragma once

#pragma GCC visibility push(default)

// Reads or stores the result string of item 5. `data` begins with a header: "1" copies the stored string to `out` (32
// bytes); "2" stores the text after the header and says so in `out`; any other one leaves `out` alone.
void aat_result_init(const char* data, char* out);

// Copies the result string to `out` (32 bytes), the empty text when it cannot be read.
void aat_result_read(char* out);

// Stores a result string, at most 31 characters; "aat_result_write, success" in `out` (32 bytes), which stays as it is
// when that fails.
void aat_result_write(const char* data, char* out);

// The verdict of the device test: the first digit of the result that counts and, where the set has a "4", that of the
// self-diagnosis added; 0 when the factory test menu has passed. -1 when an item cannot be read, -2 when one of the two
// has no digit yet.
int get_devicetest_result();

// Clears the items 7, 29 and 5 in this order; 0, or -1 at the first that cannot be written.
int set_devicetest_result_init();

// Write the result of a test, 1, 0 or any other, as '1', '0' or '2' into the misc partition: as the test's own result,
// and as its entry in the integrated self-diagnosis result. 0 when it is on the medium, or -1.
int aat_subdivided_result_write(unsigned index, int result);
int aat_subdivided_result_write_to_integrated_result(unsigned index, int result);

// Copies the first 31 characters of the SAAT result to `out` (32 bytes); 0, or 1 when it cannot be read.
int saat_result_get(char* out);

// Write and read the status character of the MID automatic test; 0, or 1 when the store fails.
int midauto_status_set(const char* c);
int midauto_status_get(char* c);

// Writes the recondition status, at most 32 bytes of it, to its file; 0, or 1 when that fails.
int write_recondition_status(const char* status);

#pragma GCC visibility pop
