/// Opens a copy of the store through SQLite alone, reads one row, and ends:
/// one_select FILE INSTANCE.

#include "select_once.h"

int main(int argc, char** argv) {
  return argc == 3 && bench::SelectOnce(argv[1], argv[2]) ? 0 : 1;
}
