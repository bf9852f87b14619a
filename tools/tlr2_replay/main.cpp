// tlr2_replay: looks into capture files and draws them again.
#include "tlr2_replay/command.h"

int main(int argc, char** argv) { return tlr2::tool::RunTool(argc, argv); }
