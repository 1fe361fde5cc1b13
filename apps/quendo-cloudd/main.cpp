#include <string>
#include <vector>

#include <sys/stat.h>

#include "apps/quendo-cloudd/program.hpp"
#include "apps/quendo/standard_output.hpp"

int main(int argc, char** argv) {
    quendo::prepareStandardStreams();
    // Nothing that this program makes is for other users.
    umask(0077);
    // A caller may leave out even the name of the program.
    return cloudd::run(argc < 1 ? std::vector<std::string>() : std::vector<std::string>(argv + 1, argv + argc));
}
