#pragma once
// The automation object `ImageSolver`: the members a client reaches by name, each a thin front with
// range tests over the program's values. A front end carries them over its transport (D-Bus); here
// they are plain procedures over the context, so that the rules are the same whoever calls.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "comun/context.h"

namespace tornel {

// The object's four kinds of value: long, boolean, double, text.
enum class SolverType : uint8_t { Long, Boolean, Double, Text };
using SolverValue = std::variant<int32_t, bool, double, std::string>;

// A refusal as the client gets it: the number (101 to 108) and the description
// " Error 101: SkyZone: value out of range".
struct SolverFault {
    int32_t numero = 0;
    std::string descripcion;
};

// Raises a refusal as a SolverFault; every member below may raise one.
[[noreturn]] void LanzaErrorImageSolver(int32_t numero, const std::string& texto);

struct SolverProperty {
    const char* name;
    SolverType type;
    SolverValue (*get)(Context&);
    void (*set)(Context&, const SolverValue&);  // null: read only
};

// Every property, in the order of the class.
std::span<const SolverProperty> SolverProperties();
// The property of that exact name, or null.
const SolverProperty* FindSolverProperty(std::string_view name);
// Reading may refuse (results while analysing, results of an unsolved image).
SolverValue ReadSolverProperty(Context& c, const SolverProperty& p);
// Writing refuses while analysing (ImagePath tests its length first) and out of range. `v` holds
// the property's type.
void WriteSolverProperty(Context& c, const SolverProperty& p, const SolverValue& v);

void StopAnalyzing(Context& c);
// Runs an analysis to its end before returning.
void Analyze(Context& c);
// Starts an analysis through its one-shot timer and returns at once.
void LaunchAnalysis(Context& c);
void FineAdjustAngle(Context& c);
void SetupDialog(Context& c);

// A client came: gConexiones grows.
void SolverClientArrived(Context& c);
// A client left: gConexiones shrinks. True when that ends the program: the last client of a
// program that a client started.
bool SolverClientLeft(Context& c);

// The texts of the read-only identity properties.
std::string SolverVersion();
std::string SolverVersionInformation(const Context& c);
std::string SolverDescription();

}  // namespace tornel
