// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace orca::app {

namespace {

using Sections = std::vector<DocumentSection>;

DocumentSection exitStatus(std::span<const ExitCodeMeaning> codes) {
    DocumentSection section{"Exit status", {}};
    for (const ExitCodeMeaning& row : codes) section.entries.emplace_back(row.code, row.meaning);
    return section;
}

std::string helpFooter(const Sections& sections) {
    std::string text;
    for (const DocumentSection& section : sections) {
        text += fmt::format("\n{}:\n", section.title);
        for (const auto& [term, meaning] : section.entries)
            text += fmt::format("  {:<32}{}\n", term, meaning);
    }
    return text.substr(1);
}

/// An option as the documents show it.
struct Entry {
    std::vector<std::string> names;   ///< with their dashes, short ones first; empty for the positional one
    std::string value;                ///< name of the value, empty for a switch
    std::vector<std::string> choices; ///< values, where only these are taken
    std::string description;
};

/// Words of a list such as "{on,off}" in a description that a set of choices gives of itself.
std::vector<std::string> choicesIn(const std::string& type) {
    std::vector<std::string> words;
    const std::size_t open = type.find('{'), close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) return words;
    for (std::size_t from = open + 1; from <= close;) {
        const std::size_t end = std::min(type.find(',', from), close);
        words.push_back(type.substr(from, end - from));
        from = end + 1;
    }
    return words;
}

Entry entryOf(const CLI::Option& option) {
    Entry entry;
    for (const std::string& name : option.get_snames()) entry.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) entry.names.push_back("--" + name);
    if (option.get_items_expected_max() > 0 && option.get_type_size_max() > 0) {
        const std::string type = option.get_type_name();
        entry.value = type.substr(0, type.find(':'));
        entry.choices = choicesIn(type);
    }
    entry.description = option.get_description();
    return entry;
}

/// Options of a group in the order of --help, less the hidden ones, which are of the empty group.
std::vector<Entry> entriesOf(const CLI::App& app, const std::string& group) {
    std::vector<Entry> entries;
    for (const CLI::Option* option : app.get_options())
        if (option->get_group() == group && option->nonpositional()) entries.push_back(entryOf(*option));
    return entries;
}

std::vector<Entry> allEntries(const CLI::App& app) {
    std::vector<Entry> entries;
    for (const std::string& group : app.get_groups())
        if (!group.empty())
            for (Entry& entry : entriesOf(app, group)) entries.push_back(std::move(entry));
    return entries;
}

std::vector<Entry> positionalEntries(const CLI::App& app) {
    std::vector<Entry> entries;
    for (const CLI::Option* option : app.get_options())
        if (option->get_positional()) entries.push_back(entryOf(*option));
    return entries;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

/// Text as the page formatter prints it: no hyphenation at dashes, no request at a line's start.
std::string roff(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\') escaped += "\\e";
        else if (c == '-') escaped += "\\-";
        else if (c == '\'') escaped += "\\(aq";
        else escaped += c;
    }
    return escaped.rfind('.', 0) == 0 ? "\\&" + escaped : escaped;
}

std::string manualPage(const CLI::App& app, const Sections& sections) {
    const std::string name = app.get_name();
    std::string page =
        fmt::format(".TH {} 1 \"\" \"{}\" \"User Commands\"\n", upper(name), "orca-render " ORCA_VERSION);
    std::string summary = app.get_description();
    summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
    if (summary.back() == '.') summary.pop_back();
    page += fmt::format(".SH NAME\n{} \\- {}\n", roff(name), roff(summary));
    page += fmt::format(".SH SYNOPSIS\n.B {}\n.RI [ OPTION ]...", roff(name));
    for (const Entry& entry : positionalEntries(app)) page += fmt::format("\n.IR {} ...", roff(entry.value));
    page += "\n.SH DESCRIPTION\n" + roff(app.get_description()) + "\n";
    for (const Entry& entry : positionalEntries(app))
        page += fmt::format(".PP\n.IR {} :\n{}.\n", roff(entry.value), roff(entry.description));
    page += ".SH OPTIONS\n";
    for (const std::string& group : app.get_groups()) {
        const std::vector<Entry> entries = group.empty() ? std::vector<Entry>() : entriesOf(app, group);
        if (entries.empty()) continue;
        page += fmt::format(".SS {}\n", roff(group));
        for (const Entry& entry : entries) {
            page += ".TP\n";
            for (std::size_t i = 0; i < entry.names.size(); ++i)
                page += fmt::format("{}\\fB{}\\fR", i ? ", " : "", roff(entry.names[i]));
            if (!entry.value.empty()) page += fmt::format(" \\fI{}\\fR", roff(entry.value));
            page += "\n" + roff(entry.description) + "\n";
            if (!entry.choices.empty())
                page += roff(fmt::format("({})", fmt::join(entry.choices, ", "))) + "\n";
        }
    }
    for (const DocumentSection& section : sections) {
        page += fmt::format(".SH {}\n", roff(upper(section.title)));
        for (const auto& [term, meaning] : section.entries)
            page += fmt::format(".TP\n.B {}\n{}\n", roff(term), roff(meaning));
    }
    return page;
}

/// Which files complete a value, by the value's name.
bool isFile(const Entry& entry) {
    return entry.value == "FILE";
}
bool isDirectory(const Entry& entry) {
    return entry.value == "DIR";
}

std::string bashCompletion(const CLI::App& app, const std::string& extension) {
    const std::string name = app.get_name();
    std::string function = name;
    std::replace(function.begin(), function.end(), '-', '_');
    std::string cases, words;
    for (const Entry& entry : allEntries(app)) {
        for (const std::string& option : entry.names) words += (words.empty() ? "" : " ") + option;
        if (entry.value.empty()) continue;
        std::string action = "return";
        if (!entry.choices.empty())
            action = fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$word\")); return",
                                 fmt::join(entry.choices, " "));
        else if (isFile(entry)) action = "COMPREPLY=($(compgen -f -- \"$word\")); return";
        else if (isDirectory(entry)) action = "COMPREPLY=($(compgen -d -- \"$word\")); return";
        cases += fmt::format("    {}) {} ;;\n", fmt::join(entry.names, "|"), action);
    }
    return fmt::format(R"(# bash completion for {0}
_{1}() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}}
    compopt -o filenames 2>/dev/null
    case $before in
{2}    esac
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W '{3}' -- "$word"))
    else
        COMPREPLY=($(compgen -f -X '!*.{4}' -- "$word") $(compgen -d -- "$word"))
    fi
}}
complete -F _{1} {0}
)",
                       name, function, cases, words, extension);
}

/// Text between the quotes and brackets of an argument of `_arguments`.
std::string zshText(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'') escaped += "'\\''";
        else if (c == '[' || c == ']' || c == ':' || c == '\\') escaped += fmt::format("\\{}", c);
        else escaped += c;
    }
    return escaped;
}

std::string zshCompletion(const CLI::App& app, const std::string& extension) {
    std::string arguments;
    for (const Entry& entry : allEntries(app)) {
        std::string value;
        if (!entry.value.empty()) {
            std::string action = " ";
            if (!entry.choices.empty()) action = fmt::format("({})", fmt::join(entry.choices, " "));
            else if (isFile(entry)) action = "_files";
            else if (isDirectory(entry)) action = "_files -/";
            value = fmt::format(":{}:{}", zshText(entry.value), action);
        }
        for (const std::string& option : entry.names)
            arguments += fmt::format("    '*{}[{}]{}' \\\n", option, zshText(entry.description), value);
    }
    return fmt::format("#compdef {}\n_arguments \\\n{}    '*:file:_files -g \"*.{}\"'\n", app.get_name(),
                       arguments, extension);
}

} // namespace

void addDocuments(CLI::App& app, const std::string& extension, std::span<const ExitCodeMeaning> codes,
                  Sections sections) {
    sections.insert(sections.begin(), exitStatus(codes));
    app.footer(helpFooter(sections));
    app.add_option_function<std::string>("--print-document",
                                         [&app, extension, sections](const std::string& kind) {
                                             fmt::print("{}", kind == "man" ? manualPage(app, sections)
                                                              : kind == "bash"
                                                                  ? bashCompletion(app, extension)
                                                                  : zshCompletion(app, extension));
                                             throw CLI::Success();
                                         })
        ->group("")
        ->check(CLI::IsMember({"man", "bash", "zsh"}));
}

} // namespace orca::app
