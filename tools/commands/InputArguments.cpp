#include "commands/InputArguments.h"

#include <map>

namespace tool {

namespace {

const std::map<std::string, VideoCodecType> codecNames = {
    {"h264", VideoCodecAVC}, {"avc", VideoCodecAVC}, {"h265", VideoCodecHEVC}, {"hevc", VideoCodecHEVC}};

void AddSource(CLI::App* command, SourceOptions& options)
{
    command
        ->add_option_function<int>(
            "--stream", [&options](int index) { options.stream = index; },
            "The video stream of a container, by its index; without it, the best one")
        ->check(CLI::NonNegativeNumber.description(""))
        ->type_name("N");
    command
        ->add_option_function<std::string>(
            "--codec", [&options](const std::string& name) { options.codec = codecNames.at(name); },
            "The codec, if it cannot be detected from the file: h264 or h265")
        ->check(CLI::IsMember(codecNames).description(""))
        ->type_name("CODEC");
}

}  // namespace

void AddFiles(CLI::App* command, InputOptions& options)
{
    command->add_option("FILE", options.files, "The stream, or several; - is the standard input")
        ->required()
        ->type_name(" ");
    AddSource(command, options.source);
}

void AddFile(CLI::App* command, SourceOptions& options)
{
    command->add_option("FILE", options.file, "The stream; - is the standard input")
        ->required()
        ->type_name(" ");
    AddSource(command, options);
}

void AddSets(CLI::App* command, SourceOptions& options)
{
    command
        ->add_option("--params", options.setsFile,
                     "A file with the parameter sets that the stream lacks; params -o writes such a file")
        ->type_name("SETS");
}

void AddForce(CLI::App* command, bool& force)
{
    command->add_flag("--force", force,
                      "Replace an existing file of another kind; write binary data to a terminal");
}

}  // namespace tool
