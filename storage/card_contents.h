// Whether the card holds its default contents alone, and how it is brought back to them. The list of the default
// contents stands on the card itself, in RZdefault/Version.txt. Links on the card are not followed.
#pragma once

#pragma GCC visibility push(default)

// Looks for anything on the card that the list does not name, apart from the folders that the system makes. Returns 0
// when there is nothing, and nothing of the list is missing; 1 when there is something, something is missing or cannot
// be looked at, or there is no list; -1 when the card has no id.
int check_default_contents();

// Deletes what the list does not name, files and empty folders; a folder that becomes empty stays. Returns 0, 1 when
// something cannot be looked at, or deleted, which ends the walk, or there is no list, or -1 when the card has no id.
int factory_format();

// The result of check_default_contents for a card that is mounted, else 1. The argument is not used.
int mmc_mmccheckcontents(char*);

// Deletes as factory_format does when the card is mounted, and writes "1" for success or "0" into out (2 bytes); 0
// or 1.
int mmc_mmcfactoryformat(char* out);

#pragma GCC visibility pop
