#include "cli/CommandLine.h"

#include "cli/Commands.h"

#include <CLI/CLI.hpp>

#include <ostream>

namespace Kelvane {

int runCommandLine(int argc, const char* const* argv, CommandContext& context)
{
    CLI::App app("Kelvane: the file-area manager of a Vandor board", "kelvane");
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", "kelvane 2.0");
    app.footer("With no command Kelvane starts its desktop program; \"kelvane open AREA\" starts it with that "
               "File Area open.\n");

    std::vector<std::pair<std::unique_ptr<Command>, CLI::App*>> commands;
    for (auto make :
         { makeBoardCommand, makeAreasCommand, makeShowCommand, makeRewriteCommand, makeScanCommand, makeReadDizCommand,
           makeRefreshCommand, makeEraseCommand, makeDeleteCommand, makeStripUploadersCommand, makeCleanCommand,
           makeSortCommand, makeMoveCommand, makeIndexCommand, makeCheckCommand, makeExportCommand,
           makeDupesCommand, makeAllFilesCommand, makeFindCommand }) {
        std::unique_ptr<Command> command = make();
        CLI::App* parsed = command->setUp(app);
        commands.emplace_back(std::move(command), parsed);
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        context.out << app.help();
        return ExitDone;
    } catch (const CLI::CallForAllHelp&) {
        context.out << app.help("", CLI::AppFormatMode::All);
        return ExitDone;
    } catch (const CLI::CallForVersion&) {
        context.out << app.version() << '\n';
        return ExitDone;
    } catch (const CLI::ParseError& error) {
        context.err << "kelvane: " << error.what() << '\n';
        context.err << "Run with --help for more information.\n";
        return ExitUsage;
    }

    for (auto& [command, parsed] : commands) {
        if (!parsed->parsed())
            continue;
        try {
            return command->run(context);
        } catch (const CommandError& error) {
            context.err << "kelvane: " << error.what() << '\n';
            return ExitFailed;
        } catch (const std::exception& error) {
            context.err << "kelvane: " << error.what() << '\n';
            return ExitFailed;
        }
    }
    context.out << app.help();
    return ExitDone;
}

} // namespace Kelvane
