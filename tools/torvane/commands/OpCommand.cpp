#include "tools/torvane/commands/OpCommand.h"

#include "tools/torvane/commands/Commands.h"

#include "amp/Amplifier.h"
#include "circuit/Circuit.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace torvane::cli {

const char* const opUsage = R"(Usage: torvane op DOC.xml

Initialises the document as 'torvane check' does and prints, for every circuit
graph (Type "MNA"), its DC operating point with the inputs at 0 V: each node's
voltage, then the current through each voltage source and op-amp output (the
extra unknowns), one per line. A circuit that starts from its operating point
shows the one it starts from; any other is solved now, capacitors open.
A current is counted from the circuit into the source's plus terminal (or the
op-amp's output), so a supply that delivers power shows a negative current.
Errors as for 'torvane check'.
)";

namespace {

struct Unknown {
    std::string name;
    const char* unit;
};

/// Names of the unknowns by their index in the solution: nodes in volts, then the currents.
std::vector<Unknown> unknownsOf(const nodara::MNAContext& context) {
    std::vector<Unknown> unknowns(static_cast<size_t>(context.getSize()));
    for (const auto& [node, index] : context.getNodeMap()) {
        unknowns[static_cast<size_t>(index)] = {node, "V"};
    }
    for (const auto& [component, index] : context.getExtraMap()) {
        unknowns[static_cast<size_t>(index)] = {"I(" + component + ")", "A"};
    }
    return unknowns;
}

void printOperatingPoint(nodara::Circuit& circuit) {
    const auto point = circuit.getOperatingPoint();
    const auto unknowns = unknownsOf(*circuit.getMNAContext());
    size_t width = 0;
    for (const Unknown& unknown : unknowns) {
        width = std::max(width, unknown.name.size());
    }
    std::cout << "Circuit " << circuit.getName() << "\n";
    for (size_t i = 0; i < unknowns.size(); ++i) {
        std::printf("  %-*s  %14.6g %s\n", static_cast<int>(width), unknowns[i].name.c_str(),
                    static_cast<double>(point.x[static_cast<Eigen::Index>(i)]), unknowns[i].unit);
    }
    if (!point.converged) {
        std::cout << "  (the solve did not converge within MaxIterations: these are its last "
                     "iterate)\n";
    }
    std::cout.flush();
}

} // namespace

int opCommand(Arguments& arguments) {
    const std::string path = arguments.takePositional("the document DOC.xml");
    arguments.expectNothingElse();
    auto driver = torvane::makeProductDriver(readTextFile(path));
    int circuits = 0;
    for (const auto& graph : *driver->getGraphs()) {
        if (auto* circuit = dynamic_cast<nodara::Circuit*>(graph.get())) {
            printOperatingPoint(*circuit);
            ++circuits;
        }
    }
    if (circuits == 0) {
        std::cout << "no circuit graphs in " << path << "\n";
    }
    return 0;
}

} // namespace torvane::cli
