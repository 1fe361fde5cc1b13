#include <string>
#include <vector>

#include <sys/stat.h>

#include "apps/quendo/locale_folder.hpp"
#include "apps/quendo/program.hpp"
#include "apps/quendo/standard_output.hpp"

int main(int argc, char** argv) {
    quendo::prepareStandardStreams();
    quendo::takeLocale();
    // Nothing that this program makes is for other users.
    umask(0077);
    // A caller may leave out even the name of the program.
    return quendo::run(argc < 1 ? std::vector<std::string>() : std::vector<std::string>(argv + 1, argv + argc));
}
