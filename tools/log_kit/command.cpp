#include "log_kit/command.h"

#include <cstdio>
#include <stdexcept>

#include "log_frames/file_error.h"

void printError(std::string const& text)
{
    fflush(stdout); // in the order of events where both go to one place
    fprintf(stderr, "log_kit: %s\n", text.c_str());
}

eStatus forEachFile(std::vector<std::string> const& files,
                    std::function<eStatus(std::string const& file)> const& work)
{
    eStatus status = STATUS_GOOD;
    for (std::string const& file : files) {
        try {
            status = worse(status, work(file));
        } catch (FileError const& error) {
            printError(error.what());
            status = worse(status, STATUS_FAILED);
        }
    }
    return status;
}

void addOption(CLI::App& app, std::string const& name, std::string const& type,
               std::string const& help, std::function<void(std::string const&)> const& take)
{
    app.add_option_function<std::vector<std::string>>(
           name,
           [=](std::vector<std::string> const& texts) {
               for (std::string const& text : texts)
                   try {
                       take(text);
                   } catch (std::invalid_argument const& error) {
                       throw CLI::ValidationError(name, error.what());
                   }
           },
           help)
        ->type_name(type)
        ->allow_extra_args(false);
}
