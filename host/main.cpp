// The program `telvar`.

#include "app/terminal.h"
#include "commands/run.h"

int main(int argc, char** argv) {
  return telvar_host::run(telvar_host::arguments(argc, argv));
}
