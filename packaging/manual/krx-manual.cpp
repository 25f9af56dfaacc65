// Makes the manual page of a program, or its completion for a shell, from what the program says about itself
// with --describe. So neither can say anything that the program does not know, or leave anything out.
//
//     krx-manual man|bash|zsh|fish < description > result
//
// A description has one line for each thing; its fields are divided by tabs, and "\n" in them is a line end:
//
//     program  NAME  PURPOSE  VERSION
//     option   COMMAND  NAME  ARGUMENT  VALUES  HELP      (of all commands when COMMAND is empty)
//     command  NAME  OPERANDS  VALUES  HELP
//     section  TITLE  TEXT                                (lines that begin with blanks explain the one
//     before) see      NAME                                       (another program)

#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Option
{
    std::string command, name, argument, values, help;
};
struct Command
{
    std::string name, operands, values, help;
};
struct Section
{
    std::string title, text;
};
struct Program
{
    std::string name, purpose, version, see;
    std::vector<Option> options;
    std::vector<Command> commands;
    std::vector<Section> sections;

    std::vector<Option> optionsOf(const std::string& command) const
    {
        std::vector<Option> found;
        for (const auto& option : options) {
            if (option.command == command)
                found.push_back(option);
        }
        return found;
    }
};

std::vector<std::string> split(const std::string& text, char divider)
{
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, divider);)
        pieces.push_back(piece);
    return pieces;
}

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

std::string oneLine(const std::string& text)
{
    return replaced(text, "\n", " ");
}

bool read(std::istream& input, Program& program)
{
    for (std::string line; std::getline(input, line);) {
        auto fields = split(line, '\t');
        for (auto& field : fields)
            field = replaced(field, "\\n", "\n");
        fields.resize(6);
        if (fields[0] == "program") {
            program.name = fields[1];
            program.purpose = fields[2];
            program.version = fields[3];
        } else if (fields[0] == "option") {
            program.options.push_back({fields[1], fields[2], fields[3], fields[4], fields[5]});
        } else if (fields[0] == "command") {
            program.commands.push_back({fields[1], fields[2], fields[3], fields[4]});
        } else if (fields[0] == "section") {
            program.sections.push_back({fields[1], fields[2]});
        } else if (fields[0] == "see") {
            program.see = fields[1];
        } else {
            std::cerr << "krx-manual: a line that is not understood: " << line << '\n';
            return false;
        }
    }
    return !program.name.empty();
}

// The manual page

std::string roff(const std::string& text)
{
    std::string result = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    result = replaced(result, "\n.", "\n\\&.");
    result = replaced(result, "\n'", "\n\\&'");
    return !result.empty() && (result[0] == '.' || result[0] == '\'') ? "\\&" + result : result;
}

std::string upper(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    return text;
}

std::string rows(const std::vector<Option>& options)
{
    std::string result;
    for (const auto& option : options) {
        result += ".TP\n\\fB\\-\\-" + roff(option.name) + "\\fR" +
                  (option.argument.empty() ? "" : " \\fI" + roff(option.argument) + "\\fR") + '\n' +
                  roff(option.help) + '\n';
    }
    return result;
}

std::string sectionText(const Section& section)
{
    std::string result = ".SH " + roff(section.title) + '\n';
    const auto lines = split(section.text, '\n');
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool explains = lines[i][0] == ' ';
        const bool isExplained = i + 1 < lines.size() && lines[i + 1][0] == ' ';
        const auto begin = lines[i].find_first_not_of(' ');
        result += (isExplained && !explains ? ".TP\n" : "") + roff(lines[i].substr(begin)) + '\n';
    }
    return result;
}

std::string man(const Program& program)
{
    std::string page = ".TH " + roff(upper(program.name)) + " 1 \"\" \"KRX Folders " + roff(program.version) +
                       "\"\n.SH NAME\n" + roff(program.name) + " \\- " + roff(program.purpose) +
                       "\n.SH SYNOPSIS\n.B " + roff(program.name) + "\n.RI [ options ]\n";
    if (!program.commands.empty())
        page += ".br\n.B " + roff(program.name) + "\n.I COMMAND\n.RI [ operands ]\n.RI [ options ]\n";
    page += ".SH OPTIONS\n" + rows(program.optionsOf({}));
    if (!program.commands.empty())
        page += ".SH COMMANDS\n";
    for (const auto& command : program.commands) {
        const auto own = program.optionsOf(command.name);
        page += ".TP\n\\fB" + roff(command.name) + "\\fR" +
                (command.operands.empty() ? "" : " \\fI" + roff(command.operands) + "\\fR") + '\n' +
                roff(command.help) + '\n' + (own.empty() ? "" : ".RS\n" + rows(own) + ".RE\n");
    }
    for (const auto& section : program.sections)
        page += sectionText(section);
    return page + (program.see.empty() ? "" : ".SH SEE ALSO\n.BR " + roff(program.see) + " (1)\n");
}

// Completion

bool areWords(const std::string& values)
{
    return !values.empty() && values != "file" && values != "dir" && values != "user";
}

std::string quoted(const std::string& text)
{
    return '\'' + replaced(text, "'", "'\\''") + '\'';
}

std::string bashValues(const std::string& values)
{
    const std::string wish = values == "file"  ? "-f"
                             : values == "dir" ? "-d"
                             : values == "user"
                                 ? "-u"
                                 : (values.empty() ? "" : "-W " + quoted(replaced(values, "|", " ")));
    return (values == "file" || values == "dir" ? "compopt -o filenames\n            " : "") +
           (wish.empty() ? "COMPREPLY=()" : "mapfile -t COMPREPLY < <(compgen " + wish + " -- \"$current\")");
}

std::string bash(const Program& program)
{
    const std::string function = replaced(program.name, "-", "_");
    std::string names;
    for (const auto& command : program.commands)
        names += (names.empty() ? "" : "|") + command.name;
    std::string result =
        "# Completion of " + program.name + " for bash.\n_" + function +
        "()\n{\n    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
        "    local command='' word words=''\n";
    if (!names.empty())
        result += "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n        case $word in " + names +
                  ") command=$word; break ;; esac\n    done\n";
    result += "    case $previous in\n";
    std::map<std::string, std::string> seen;
    for (const auto& option : program.options) {
        if (!option.argument.empty() && seen.emplace(option.name, "").second)
            result += "        --" + option.name + ")\n            " + bashValues(option.values) +
                      "\n            return ;;\n";
    }
    result += "    esac\n    case $command in\n";
    for (const auto& command : program.commands) {
        std::string words;
        for (const auto& option : program.optionsOf(command.name))
            words += " --" + option.name;
        result += "        " + command.name + ")\n            words='" + words + "'\n";
        if (!command.values.empty())
            result += "            if [[ $current != -* ]]; then\n            " + bashValues(command.values) +
                      "\n            return\n            fi\n";
        result += "            ;;\n";
    }
    result += "        '') words='" + replaced(names, "|", " ") + "' ;;\n    esac\n";
    std::string common;
    for (const auto& option : program.optionsOf({}))
        common += " --" + option.name;
    return result + "    mapfile -t COMPREPLY < <(compgen -W \"$words" + common +
           "\" -- \"$current\")\n}\ncomplete -F _" + function + ' ' + program.name + '\n';
}

std::string zshText(const std::string& text)
{
    std::string result = oneLine(text);
    for (const char* special : {"\\", "[", "]", ":"})
        result = replaced(result, special, std::string("\\") + special);
    return result;
}

std::string zshValues(const std::string& values)
{
    if (areWords(values))
        return '(' + replaced(values, "|", " ") + ')';
    return values == "file" ? "_files" : values == "dir" ? "_files -/" : values == "user" ? "_users" : " ";
}

std::string zshOptions(const std::vector<Option>& options, const std::string& indent)
{
    std::string result;
    for (const auto& option : options) {
        result +=
            " \\\n" + indent +
            quoted("--" + option.name + (option.argument.empty() ? "" : "=") + '[' + zshText(option.help) +
                   ']' +
                   (option.argument.empty() ? "" : ":" + option.argument + ':' + zshValues(option.values)));
    }
    return result;
}

std::string zsh(const Program& program)
{
    std::string result = "#compdef " + program.name + "\n# Completion of " + program.name + " for zsh.\n";
    const auto common = program.optionsOf({});
    if (program.commands.empty())
        return result + "_arguments" + zshOptions(common, "    ") + '\n';
    result += "local curcontext=$curcontext state line\nlocal -a commands\ncommands=(\n";
    for (const auto& command : program.commands)
        result += "    " + quoted(command.name + ':' + zshText(command.help)) + '\n';
    result += ")\n_arguments -C" + zshOptions(common, "    ") +
              " \\\n    '1:command:->command' \\\n    '*::operand:->operand'\n"
              "case $state in\n    command) _describe command commands ;;\n    operand)\n        case "
              "$line[1] in\n";
    for (const auto& command : program.commands) {
        result += "            " + command.name + ") _arguments" +
                  zshOptions(program.optionsOf(command.name), "                ") +
                  zshOptions(common, "                ") +
                  (command.operands.empty()
                       ? std::string()
                       : " \\\n                " +
                             quoted("*:" + zshText(command.operands) + ':' + zshValues(command.values))) +
                  " ;;\n";
    }
    return result + "        esac ;;\nesac\n";
}

std::string fishOption(const std::string& start, const Option& option)
{
    std::string line = start + " -l " + option.name;
    if (areWords(option.values))
        line += " -x -a " + quoted(replaced(option.values, "|", " "));
    else if (option.values == "dir")
        line += " -x -a '(__fish_complete_directories)'";
    else if (option.values == "user")
        line += " -x -a '(__fish_complete_users)'";
    else if (!option.argument.empty())
        line += option.values == "file" ? " -r -F" : " -x";
    return line + " -d " + quoted(oneLine(option.help)) + '\n';
}

std::string fish(const Program& program)
{
    const std::string start = "complete -c " + program.name;
    std::string result = "# Completion of " + program.name + " for fish.\n" + start + " -f\n";
    for (const auto& option : program.optionsOf({}))
        result += fishOption(start, option);
    for (const auto& command : program.commands) {
        result += start + " -n __fish_use_subcommand -a " + command.name + " -d " +
                  quoted(oneLine(command.help)) + '\n';
        const std::string after = start + " -n '__fish_seen_subcommand_from " + command.name + '\'';
        for (const auto& option : program.optionsOf(command.name))
            result += fishOption(after, option);
        if (command.values == "file" || command.values == "dir")
            result += after + (command.values == "file" ? " -F\n" : " -a '(__fish_complete_directories)'\n");
    }
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    const std::map<std::string, std::function<std::string(const Program&)>> forms = {
        {"man", man}, {"bash", bash}, {"zsh", zsh}, {"fish", fish}};
    const auto form = forms.find(argc == 2 ? argv[1] : "");
    if (form == forms.end()) {
        std::cerr << "Usage: krx-manual man|bash|zsh|fish < description\n";
        return 2;
    }
    Program program;
    if (!read(std::cin, program))
        return 1;
    std::cout << form->second(program) << std::flush;
    return std::cout ? 0 : 1;
}
