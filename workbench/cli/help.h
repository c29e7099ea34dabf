// What the program says about itself.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace workbench {

// Descriptions in a column of their own, lines no longer than 90 characters.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_option(const CLI::Option* option, bool positional) const override;
    std::string make_subcommand(const CLI::App* cmd) const override;
};

// The manual page, in the notation of man(7), from the options and examples of the
// commands.
std::string manPage(const CLI::App& app);

}  // namespace workbench
