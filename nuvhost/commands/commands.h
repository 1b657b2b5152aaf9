// The sub-commands. Each function adds one command with its options to the program. The command runs if the command
// line names it.
#pragma once

namespace CLI {
class App;
}

namespace nuvhost {

// The commands run inside the program's parse(), which throws their errors: UsageError, another std::exception, or
// ExitWith.
void AddRenderCommand(CLI::App& program);
void AddChartCommand(CLI::App& program);
void AddSheetCommand(CLI::App& program);
void AddValidateCommand(CLI::App& program);
void AddInfoCommand(CLI::App& program);

}  // namespace nuvhost
