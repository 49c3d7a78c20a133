#include "commands/UserDataCommandLine.h"

#include "commands/InputArguments.h"

#include <map>

namespace tool {

namespace {

const std::map<std::string, Where> whereNames = {
    {"first", Where::First}, {"all", Where::All}, {"key", Where::Key}};
const std::map<std::string, VideoParamsClock> clockNames = {
    {"utc", VideoParamsClockUtc}, {"monotonic", VideoParamsClockMonotonic}, {"pts", VideoParamsClockPts}};

// 16 bytes as hexadecimal digits, with or without hyphens; nothing if it is none.
std::optional<std::vector<unsigned char>> ParseIdentifier(std::string text)
{
    std::erase(text, '-');
    if (text.size() != 32 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return std::nullopt;
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

}  // namespace

void CUserDataCommandLine::AddTo(CLI::App& app, std::function<Status()>& action)
{
    CLI::App* const userData = app.add_subcommand(
        "userdata", "Add, get, list or remove user data (SEI message user_data_unregistered)");
    userData->require_subcommand(1);
    AddAdd(userData, action);
    AddGet(userData, action);
    AddList(userData, action);
    AddRemove(userData, action);
}

void CUserDataCommandLine::AddAdd(CLI::App* userData, std::function<Status()>& action)
{
    CLI::App* const command = userData->add_subcommand("add", "Insert bytes of your own into a stream");
    command->footer("OUT appears when it is complete. If the command fails, OUT stays as it was.");
    AddFile(command, add.source);
    AddSets(command, add.source);
    CLI::Option_group* const contents = command->add_option_group("Contents", "One of these");
    contents->require_option(1);
    contents
        ->add_option_function<std::string>(
            "--text", [this](const std::string& given) { add.text = given; }, "Add this text")
        ->type_name("TEXT");
    contents->add_option("--data", add.dataFile, "Add the bytes of this file")->type_name("FILE");
    contents
        ->add_option_function<std::string>(
            "--timestamp", [this](const std::string& name) { add.timestamp = clockNames.at(name); },
            "Add the time: utc or monotonic, when the picture is read; pts, of the picture in its container")
        ->check(CLI::IsMember(clockNames).description(""))
        ->type_name("CLOCK");
    command
        ->add_option_function<std::string>(
            "--where", [this](const std::string& name) { add.where = whereNames.at(name); },
            "Add to the first access unit (first, the default), to all of them, or to every key frame (key)")
        ->check(CLI::IsMember(whereNames).description(""))
        ->type_name("PLACE");
    command->add_flag("--replace", add.replaces,
                      "Replace what an earlier add inserted into the same access units");
    command->add_flag("--json", add.isJson, "Report in JSON");
    command->add_option("-o,--output", add.outputFile, "The stream with the user data; may be FILE itself")
        ->required()
        ->type_name("OUT");
    AddForce(command, add.force);
    command->callback([this, &action] { action = [this] { return RunUserDataAdd(add); }; });
}

void CUserDataCommandLine::AddGet(CLI::App* userData, std::function<Status()>& action)
{
    CLI::App* const command =
        userData->add_subcommand("get", "Show the user data that add inserted into a stream");
    AddFiles(command, get.input);
    AddSets(command, get.input.source);
    command->add_flag("--json", get.isJson, "Write JSON");
    CLI::Option* const output = command
                                    ->add_option("-o,--output", get.outputFile,
                                                 "Write the bytes of all messages, one after the other")
                                    ->type_name("OUT");
    command
        ->add_flag_callback(
            "--raw", [this] { get.outputFile = "-"; }, "Write the bytes to the standard output")
        ->excludes(output);
    AddForce(command, get.force);
    command->callback([this, &action] { action = [this] { return RunUserDataGet(get); }; });
}

void CUserDataCommandLine::AddList(CLI::App* userData, std::function<Status()>& action)
{
    CLI::App* const command =
        userData->add_subcommand("list", "List all user data with its identifier, whoever wrote it");
    AddFiles(command, list.input);
    AddSets(command, list.input.source);
    command->add_flag("--json", list.isJson, "Write JSON");
    command->callback([this, &action] { action = [this] { return RunUserDataList(list); }; });
}

void CUserDataCommandLine::AddRemove(CLI::App* userData, std::function<Status()>& action)
{
    CLI::App* const command =
        userData->add_subcommand("remove", "Remove the user data that add inserted into a stream");
    command->footer(
        "--all and --uuid also remove messages of other programs. An encoder's signature is such a\n"
        "message: without it, decoders may choose the wrong workarounds and show other pictures.");
    AddFile(command, remove.source);
    CLI::Option* const all =
        command->add_flag("--all", remove.removesAll, "Remove the user data of all programs");
    command
        ->add_option_function<std::string>(
            "--uuid",
            [this](const std::string& text) {
                remove.identifier = ParseIdentifier(text);
                if (!remove.identifier)
                    throw CLI::ValidationError("--uuid", "an identifier has 32 hexadecimal digits");
            },
            "Remove the user data with this identifier; list shows them")
        ->type_name("ID")
        ->excludes(all);
    command->add_flag("--json", remove.isJson, "Report in JSON");
    command->add_option("-o,--output", remove.outputFile, "The stream without user data; may be FILE itself")
        ->required()
        ->type_name("OUT");
    AddForce(command, remove.force);
    command->callback([this, &action] { action = [this] { return RunUserDataRemove(remove); }; });
}

}  // namespace tool
