#include "commands/commands.h"

namespace workbench {

void addConvert(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand("convert");
    onRun(*cmd, shared, [] { return 0; });
}

}  // namespace workbench
