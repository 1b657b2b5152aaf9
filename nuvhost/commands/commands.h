// The sub-commands. Each is added to the program with its options and runs when the command line names it.
#pragma once

namespace CLI {
class App;
}

namespace nuvhost {

// What they do is thrown out of the program's parse(): UsageError, another std::exception, or ExitWith.
void AddRenderCommand(CLI::App& program);
void AddChartCommand(CLI::App& program);
void AddSheetCommand(CLI::App& program);
void AddValidateCommand(CLI::App& program);
void AddInfoCommand(CLI::App& program);

}  // namespace nuvhost
