// atdctl: the command-line client of atd.
#include "client/cli.h"

int main(int argc, char** argv) { return atd::client::run(argc, argv); }
