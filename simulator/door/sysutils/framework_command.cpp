#include <sysutils/FrameworkCommand.h>

FrameworkCommand::FrameworkCommand(const char* cmd) : mCommand(cmd) {}
