#include "cli/help.h"

#include <fmt/format.h>

#include <sstream>

namespace workbench {

namespace {

constexpr std::size_t kColumn = 30;
constexpr std::size_t kWidth = 90;

// "  left        words of the description, wrapped"
std::string entry(const std::string& left, const std::string& description) {
    std::string text;
    std::string line = "  " + left;
    if (line.size() >= kColumn) {
        text += line + "\n";
        line.clear();
    }
    line.resize(kColumn, ' ');
    std::istringstream words(description);
    for (std::string word; words >> word;) {
        if (line.size() + 1 + word.size() > kWidth) {
            text += line + "\n";
            line = std::string(kColumn, ' ');
        }
        if (line.size() > kColumn) line += ' ';
        line += word;
    }
    return text + line + "\n";
}

// Text as man shows it: no hyphenation of options, nothing read as a request.
std::string roff(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '\\') {
            result += "\\e";
            continue;
        }
        if (letter == '-') result += '\\';
        if ((letter == '.' || letter == '\'') &&
            (result.empty() || result.back() == '\n'))
            result += "\\&";
        result += letter;
    }
    return result;
}

std::string nameOf(const CLI::Option* option) {
    std::string name = option->get_name(option->get_positional(), true);
    const bool takesValue = option->get_items_expected_max() > 0;
    if (takesValue && !option->get_positional()) name += " " + option->get_type_name();
    return name;
}

std::string optionsText(const CLI::App* cmd) {
    std::string text;
    for (const CLI::Option* option : cmd->get_options()) {
        if (option->get_group().empty()) continue;
        text += fmt::format(".TP\n.B {}\n{}\n", roff(nameOf(option)),
                            roff(option->get_description()));
    }
    return text;
}

// A footer as it stands, lines unfilled.
std::string verbatim(const std::string& text) {
    return fmt::format(".PP\n.nf\n{}\n.fi\n", roff(text));
}

std::string commandText(const CLI::App* cmd) {
    std::string positionals;
    for (const CLI::Option* option : cmd->get_options())
        if (option->get_positional()) positionals += " " + option->get_name(true, false);
    return fmt::format(".SS kavril {} [OPTIONS]{}\n{}.\n", cmd->get_name(), positionals,
                       roff(cmd->get_description())) +
           optionsText(cmd) + verbatim(cmd->get_footer());
}

}  // namespace

std::string HelpFormatter::make_option(const CLI::Option* option, bool positional) const {
    return entry(make_option_name(option, positional) + make_option_opts(option),
                 option->get_description());
}

std::string HelpFormatter::make_subcommand(const CLI::App* cmd) const {
    return entry(cmd->get_name(), cmd->get_description());
}

std::string manPage(const CLI::App& app) {
    std::string text = ".TH KAVRIL 1\n.SH NAME\nkavril \\- " +
                       roff(app.get_description()) +
                       "\n.SH SYNOPSIS\n.B kavril\nCOMMAND [OPTIONS] ...\n.SH OPTIONS\n" +
                       optionsText(&app) + ".SH COMMANDS\n";
    for (const CLI::App* cmd : app.get_subcommands([](const CLI::App*) { return true; }))
        text += commandText(cmd);
    return text + ".SH NOTES\n" + verbatim(app.get_footer());
}

}  // namespace workbench
