#include "cli/program.h"

int main(int argumentCount, char** arguments) {
    return ifdsweep::runProgram(argumentCount, arguments);
}
