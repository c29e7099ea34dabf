#include "commands/commands.h"

namespace workbench {

void addInfo(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand("info");
    onRun(*cmd, shared, [] { return 0; });
}

}  // namespace workbench
