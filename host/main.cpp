// The program `telvar`.

#include "app/run.h"
#include "app/terminal.h"

int main(int argc, char** argv) {
  return telvar_host::run(telvar_host::arguments(argc, argv));
}
