// The platform's stores of application hashes and keys, as its security library has them.
#pragma once

extern "C" {

// Forgets the hashes of all applications.
void app_hash_remove_all();

// Removes the keys and certificates.
void remove_pki_data();

}  // extern "C"
