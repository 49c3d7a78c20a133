#include "commands/CommandLine.h"

#include "commands/Commands.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <map>

namespace tool {

namespace {

constexpr const char* Footer =
    "FILE is an H.264 or H.265 byte stream (Annex B) of any length; - is the standard input.\n"
    "Access units and NAL units are counted from 0, in the order of the stream; offsets are in bytes.\n\n"
    "Status: 0 all is well; 1 the stream is damaged, check found something, or there was no user data;\n"
    "2 the command could not be carried out.\n\n"
    "Examples:\n"
    "  videoparams info film.h264 --plot sizes.svg\n"
    "  videoparams userdata add film.h265 --text \"take 7\" --where key -o stamped.h265\n"
    "  ffmpeg -v error -i film.mp4 -c copy -bsf:v h264_mp4toannexb -f h264 - | videoparams info -";

const std::map<std::string, VideoCodecType> codecNames = {
    {"h264", VideoCodecAVC}, {"avc", VideoCodecAVC}, {"h265", VideoCodecHEVC}, {"hevc", VideoCodecHEVC}};
const std::map<std::string, Where> whereNames = {
    {"first", Where::First}, {"all", Where::All}, {"key", Where::Key}};

template <class Options>
void AddInput(CLI::App* command, Options& options)
{
    command->add_option("FILE", options.source.file, "The stream; - is the standard input")
        ->required()
        ->type_name(" ");
    command
        ->add_option_function<int>(
            "--stream", [&options](int index) { options.source.stream = index; },
            "The video stream of a container, by its index; otherwise the best one")
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("N");
    command
        ->add_option_function<std::string>(
            "--codec", [&options](const std::string& name) { options.source.codec = codecNames.at(name); },
            "The codec, where it cannot be told from the file: h264 or h265")
        ->check(CLI::IsMember(codecNames).description(""))
        ->type_name("CODEC");
}

template <class Options>
void AddForce(CLI::App* command, Options& options)
{
    command->add_flag("--force", options.force,
                      "Replace an existing file of another kind; write bytes to a terminal");
}

class CCommandLine
{
public:
    CCommandLine();
    int Run(int argc, char** argv);

private:
    void AddInfo();
    void AddUnits();
    void AddParams();
    void AddCheck();
    void AddUserData();
    void AddUserDataAdd(CLI::App* userData);

    template <class Options>
    void SetAction(CLI::App* command, Status (*run)(const Options&), const Options& options)
    {
        command->callback([this, run, &options] { action = [run, &options] { return run(options); }; });
    }

    CLI::App app{"Analyses and edits H.264/AVC and H.265/HEVC byte streams.", "videoparams"};
    std::function<Status()> action;
    InfoOptions info;
    UnitsOptions units;
    ParamsOptions params;
    CheckOptions check;
    UserDataOptions userDataOptions;
};

CCommandLine::CCommandLine()
{
    app.set_version_flag("--version", "videoparams " VIDEOPARAMS_TOOL_VERSION, "Print the version and end");
    app.require_subcommand(1);
    AddInfo();
    AddUnits();
    AddParams();
    AddCheck();
    AddUserData();
    app.footer(Footer);
}

void CCommandLine::AddInfo()
{
    CLI::App* const command =
        app.add_subcommand("info", "Describe a stream: size, rate, colour, access units, key frames");
    AddInput(command, info);
    command->add_flag("--units", info.listsUnits, "List the access units, a line each");
    command->add_flag("--json", info.isJson, "Write JSON");
    command->add_option("--plot", info.plotFile, "Draw the sizes of the access units over time, as SVG")
        ->type_name("OUT.svg");
    AddForce(command, info);
    SetAction(command, RunInfo, info);
}

void CCommandLine::AddUnits()
{
    CLI::App* const command = app.add_subcommand(
        "units",
        "List the NAL units: offset, size, start code, type; of H.264 slices their type and header length");
    command->footer("The header length of an H.264 slice counts the bytes behind the NAL unit header that "
                    "hold the elements\n"
                    "up to the picture order count: less than the whole slice header.");
    AddInput(command, units);
    command->add_flag("--json", units.isJson, "Write JSON");
    SetAction(command, RunUnits, units);
}

void CCommandLine::AddParams()
{
    CLI::App* const command =
        app.add_subcommand("params", "Show the parameter sets as hex, and whether they change");
    AddInput(command, params);
    command->add_flag("--json", params.isJson, "Write JSON");
    command
        ->add_option("-o,--output", params.outputFile,
                     "Write the first set of each kind and identifier as a byte stream")
        ->type_name("OUT");
    AddForce(command, params);
    SetAction(command, RunParams, params);
}

void CCommandLine::AddCheck()
{
    CLI::App* const command = app.add_subcommand(
        "check", "Look for missing pictures and units in the wrong order; status 1 when there are any");
    command->footer(
        "Missing pictures are told by frame_num (H.264), so those that were no reference leave no trace.\n"
        "A gap flags the access units behind it, up to and including the next reference picture.");
    AddInput(command, check);
    command->add_flag("--json", check.isJson, "Write JSON");
    SetAction(command, RunCheck, check);
}

void CCommandLine::AddUserData()
{
    CLI::App* const userData =
        app.add_subcommand("userdata", "Add, get or remove user data (SEI message user_data_unregistered)");
    userData->require_subcommand(1);
    AddUserDataAdd(userData);

    CLI::App* const get = userData->add_subcommand("get", "List the user data that add put into a stream");
    get->footer("Of several messages in one SEI unit the last is taken. Suffix SEI units are left alone.");
    AddInput(get, userDataOptions);
    get->add_option("-o,--output", userDataOptions.outputFile,
                    "Write the bytes, of all messages one after the other")
        ->type_name("OUT");
    AddForce(get, userDataOptions);
    SetAction(get, RunUserDataGet, userDataOptions);

    CLI::App* const remove = userData->add_subcommand("remove", "Remove all user data");
    remove->footer(
        "Every message of payload type 5 goes, whoever wrote it. Suffix SEI units are left alone.");
    AddInput(remove, userDataOptions);
    remove
        ->add_option("-o,--output", userDataOptions.outputFile,
                     "The stream without user data; may be FILE itself")
        ->required()
        ->type_name("OUT");
    AddForce(remove, userDataOptions);
    SetAction(remove, RunUserDataRemove, userDataOptions);
}

void CCommandLine::AddUserDataAdd(CLI::App* userData)
{
    CLI::App* const add = userData->add_subcommand("add", "Put bytes of your own into a stream");
    add->footer("OUT appears when it is whole; a failure leaves it as it was.");
    AddInput(add, userDataOptions);
    add->add_option_function<std::string>(
           "--text", [this](const std::string& given) { userDataOptions.text = given; }, "Add this text")
        ->type_name("TEXT");
    add->add_option("--data", userDataOptions.dataFile, "Add the bytes of this file (instead of --text)")
        ->excludes("--text")
        ->type_name("FILE");
    add->add_option_function<std::string>(
           "--where", [this](const std::string& name) { userDataOptions.where = whereNames.at(name); },
           "Into the first access unit, all of them, or every key frame: first, all or key (first)")
        ->check(CLI::IsMember(whereNames).description(""))
        ->type_name("PLACE");
    add->add_option("-o,--output", userDataOptions.outputFile,
                    "The stream with the user data; may be FILE itself")
        ->required()
        ->type_name("OUT");
    AddForce(add, userDataOptions);
    add->callback([this] {
        if (!userDataOptions.text && userDataOptions.dataFile.empty())
            throw CLI::RequiredError("--text or --data");
        action = [this] { return RunUserDataAdd(userDataOptions); };
    });
}

int CCommandLine::Run(int argc, char** argv)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& ending) {
        return app.exit(ending);
    } catch (const CLI::ParseError& error) {
        throw CToolError(std::string(error.what()) + " (see videoparams --help)");
    }
    return action();
}

}  // namespace

int RunCommandLine(int argc, char** argv)
{
    return CCommandLine().Run(argc, argv);
}

}  // namespace tool
