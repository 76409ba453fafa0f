// The fuel gauge: its model, the battery's voltage and level.
#pragma once

#pragma GCC visibility push(default)

// Looks for the fuel gauge's nodes and stores its model in *model: 1 MAX17047, 2 MAX17048, 3 MAX17050, 4 BQ27421,
// 5 RT5058, 0 the power chip's own. 0, or 1 with the model -1 when there is none.
int check_fuel_model(int* model);

// Resets the fuel gauge of the model, the battery's node where there is none; 0, or 1.
int set_fuelguage_reset();

// Copies the battery's level in percent, at most 10 characters of the model's node (the battery's where there is no
// model), to `out` (11 bytes). 0, or 1 with the empty text when it cannot be read.
int get_fuelgauge_level(char* out);

// Writes the battery's voltage in volts, "4.20", to `out` (16 bytes): numbers from 1000000 on are microvolts, smaller
// ones millivolts. 0, or 1 with the empty text when there is no model or its node cannot be read.
int get_battery_voltage(char* out);

#pragma GCC visibility pop
