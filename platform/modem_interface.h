// The modem vendor's request interface.
#pragma once

struct rzcmd_request;
struct rzcmd_response;

extern "C" {

// Opens the interface for a client handle; 0 when it is ready, else the interface's error.
int dmi_init(int client);

// Closes the interface for a client handle; 0, or the interface's error.
int dmi_release(int client);

// Gives a client handle back (-1 for the present one); the value to open the interface with again.
int dmi_client_handle_release(int client);

// Sends one request and waits for its response; 0 on success. What the response says to be stored survives a power
// loss; of an open file, what was written before its close was answered.
int request_to_modem_via_dmi(struct rzcmd_request* request, struct rzcmd_response* response);

}  // extern "C"
