#include "cli/program.h"

int main(int argumentCount, char** arguments) {
    return app::runProgram(argumentCount, arguments);
}
