// vexil-cook: cooks a scene file or glTF shot with the op plug-ins on the search path and prints or
// writes the cooked scene (JSON, or glTF with the animation baked), or draws it (--svg, --png), or
// explains one location (--explain). Exit status: 0 when the cook finished (locations may carry
// errors), 1 for input that cannot be read or output that cannot be written, 2 for a bad command line.
#include "host/scene/InputFile.h"
#include "tools/vexil-cook/CommandLine.h"
#include "tools/vexil-cook/CookCommand.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    VexilHost::Options options;
    if (const int status = VexilHost::parseCommandLine(argc, argv, options); status >= 0) {
        return status;
    }
    const std::string name = VexilHost::inputName(options.scenePath);
    try {
        return VexilHost::runCookCommand(options);
    } catch (const std::bad_alloc&) {
        std::cerr << "vexil-cook ERROR: " << name << ": out of memory" << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "vexil-cook ERROR: " << name << ": " << error.what() << std::endl;
    } catch (...) {
        std::cerr << "vexil-cook ERROR: " << name << ": an unknown failure" << std::endl;
    }
    return 1;
}
