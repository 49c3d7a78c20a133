#include "commands/CommandLine.h"

#include "commands/InputArguments.h"
#include "commands/UserDataCommandLine.h"

#include <CLI/CLI.hpp>

namespace tool {

namespace {

constexpr const char* Footer =
    "FILE is a container (MP4, MOV, MKV, TS and others) with H.264 or H.265 video, or a byte stream (Annex "
    "B), of any\n"
    "length; - is the standard input. A URL that libavformat supports is read live.\n"
    "Access units and NAL units are counted from 0, in the order of the stream; offsets are in bytes.\n\n"
    "Status: 0 all is well; 1 the stream is damaged, check found something, or there was no user data;\n"
    "2 the command failed.\n\n"
    "Examples:\n"
    "  videoparams info film.mp4 --plot sizes.svg\n"
    "  videoparams check film.mkv\n"
    "  videoparams userdata add film.mp4 --text \"take 7\" --where key -o stamped.mp4";

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
    void AddInspect();
    void AddFix();

    template <class Options>
    void SetAction(CLI::App* command, Status (*run)(const Options&), const Options& options)
    {
        command->callback([this, run, &options] { action = [run, &options] { return run(options); }; });
    }

    CLI::App app{"Analyses and edits H.264/AVC and H.265/HEVC video.", "videoparams"};
    std::function<Status()> action;
    InfoOptions info;
    UnitsOptions units;
    ParamsOptions params;
    CheckOptions check;
    InspectOptions inspect;
    FixOptions fix;
    CUserDataCommandLine userData;
};

CCommandLine::CCommandLine()
{
    app.set_version_flag("--version", "videoparams " VIDEOPARAMS_TOOL_VERSION, "Print the version and end");
    app.require_subcommand(1);
    AddInfo();
    AddUnits();
    AddParams();
    AddCheck();
    AddInspect();
    AddFix();
    userData.AddTo(app, action);
    app.footer(Footer);
}

void CCommandLine::AddInfo()
{
    CLI::App* const command =
        app.add_subcommand("info", "Describe a stream: size, rate, colour, access units, key frames");
    AddFiles(command, info.input);
    AddSets(command, info.input.source);
    command->add_flag("--units", info.listsUnits, "List the access units, one per line");
    command->add_flag("--json", info.isJson, "Write JSON");
    command->add_option("--plot", info.plotFile, "Draw the sizes of the access units over time, as SVG")
        ->type_name("OUT.svg");
    AddForce(command, info.force);
    SetAction(command, RunInfo, info);
}

void CCommandLine::AddUnits()
{
    CLI::App* const command = app.add_subcommand(
        "units",
        "List the NAL units: offset, size, start code, type; of H.264 slices their type and header length");
    command->footer("The header length of an H.264 slice counts the bytes after the NAL unit header that "
                    "hold the elements\n"
                    "up to the picture order count: less than the whole slice header.");
    AddFiles(command, units.input);
    AddSets(command, units.input.source);
    command->add_flag("--json", units.isJson, "Write JSON");
    SetAction(command, RunUnits, units);
}

void CCommandLine::AddParams()
{
    CLI::App* const command =
        app.add_subcommand("params", "Show the parameter sets as hex, and whether they change");
    AddFiles(command, params.input);
    command->add_flag("--json", params.isJson, "Write JSON");
    command
        ->add_option("-o,--output", params.outputFile,
                     "Write the first set of each kind and identifier as a byte stream")
        ->type_name("OUT");
    AddForce(command, params.force);
    SetAction(command, RunParams, params);
}

void CCommandLine::AddCheck()
{
    CLI::App* const command = app.add_subcommand(
        "check", "Look for missing pictures and units in the wrong order; status 1 if it finds any");
    command->footer(
        "Missing pictures are detected by frame_num (H.264). A missing picture that was not a reference\n"
        "cannot be detected, nor any if the stream declares that its frame_num may have gaps.");
    AddFiles(command, check.input);
    AddSets(command, check.input.source);
    command->add_flag("--json", check.isJson, "Write JSON");
    SetAction(command, RunCheck, check);
}

void CCommandLine::AddInspect()
{
    CLI::App* const command = app.add_subcommand(
        "inspect", "Write a page with plot, units, bytes and findings, and open it in the browser");
    command->footer(
        "The page needs no server and no network. Up to 32 MB of the stream are in it; of a longer one "
        "it has\nall but the bytes, and takes them when the file is dropped on it.");
    AddFile(command, inspect.source);
    AddSets(command, inspect.source);
    command->add_option("-o,--output", inspect.outputFile, "The page; otherwise FILE.html in this folder")
        ->type_name("OUT.html");
    command->add_flag("--no-open", inspect.staysClosed, "Do not open the page");
    command->add_option("--page", inspect.pageFile, "The built page, if it is not installed")
        ->type_name("PAGE.html");
    AddForce(command, inspect.force);
    SetAction(command, RunInspect, inspect);
}

void CCommandLine::AddFix()
{
    CLI::App* const command =
        app.add_subcommand("fix", "Correct the marks of key samples in a container, and list what changed");
    command->footer("OUT appears when it is complete. If the command fails, OUT stays as it was.");
    AddFile(command, fix.source);
    AddSets(command, fix.source);
    command->add_flag("--json", fix.isJson, "Write JSON");
    command->add_option("-o,--output", fix.outputFile, "The container with correct marks; may be FILE itself")
        ->required()
        ->type_name("OUT");
    AddForce(command, fix.force);
    SetAction(command, RunFix, fix);
}

// "videoparams bogus" and "videoparams userdata bogus"
void RefuseUnknownSubcommand(CLI::App& app, int argc, char** argv)
{
    CLI::App* command = &app;
    for (int i = 1; i < argc && argv[i][0] != '-'; ++i) {
        const std::vector<CLI::App*> known =
            command->get_subcommands([](const CLI::App* each) { return !each->get_name().empty(); });
        if (known.empty())
            return;
        std::string names;
        command = nullptr;
        for (CLI::App* const each : known) {
            names += (names.empty() ? "" : ", ") + each->get_name();
            if (each->get_name() == argv[i])
                command = each;
        }
        if (command == nullptr)
            throw CToolError(std::string("there is no subcommand \"") + argv[i] + "\"; there are " + names);
    }
}

int CCommandLine::Run(int argc, char** argv)
{
    RefuseUnknownSubcommand(app, argc, argv);
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
