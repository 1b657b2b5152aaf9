// A host that says which version it is, sends single commands, and keeps the effect's answers.
#pragma once

#include <string>
#include <vector>

#include "validator/check.h"

namespace validator {

// Checks ask in hosts of both versions, because an effect may look at the version and do something else in a newer
// host.
inline constexpr PF_SpecVersion kHostVersions[] = {{13, 27}, signs::kNewerHost};

// A parameter's definition as the effect passes it to the host, byte for byte.
struct AddedParam {
    std::int32_t place = 0;  // from 1 on
    std::int32_t index = 0;  // the index that the effect asks for
    PF_ParamDef definition{};
    std::string choices;  // of a popup

    std::string Name() const;  // "parameter 3 \"Scaling\""
};
// The first parameter that differs, as a sentence; empty if there is none.
std::string WhatDiffers(const std::vector<AddedParam>& a, const std::vector<AddedParam>& b);

class Interview {
public:
    explicit Interview(Context& context, PF_SpecVersion version = kHostVersions[0])
        : Interview(context, version, context.personality()) {}
    Interview(Context& context, PF_SpecVersion version, refhost::Personality personality);
    ~Interview();
    Interview(const Interview&) = delete;
    Interview& operator=(const Interview&) = delete;

    // Prepares `in` and `out` and sends a command. Afterwards they hold what the effect has written. Sequence
    // commands also take an instance's block, and replace it by the block that the instance has afterwards, or by
    // null.
    PF_Err Send(PF_Cmd cmd, PF_Handle* block = nullptr);
    // Sends global and parameter set-up. Ends the check if one of them fails.
    void SetUp();
    // Prepares the records for a command that a check sends itself.
    void Prepare();

    std::string Name() const;  // "host 13.30"
    // Ends the check if the effect keeps no data in an instance.
    void RequireBlock(PF_Handle block);
    std::vector<std::byte> Bytes(PF_Handle block);
    PF_Handle NewBlock(const std::vector<std::byte>& bytes);

    refhost::Host host;
    PF_InData in{};
    PF_OutData out{};
    PF_Handle globalData = nullptr;
    std::vector<AddedParam> added;  // in the last parameter set-up
    int interfaces = 0;             // registered in the last parameter set-up

private:
    static PF_Err AddParam(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* definition);
    static PF_Err RegisterUi(PF_ProgPtr ref, void* customUiInfo);

    Context& context_;
    PF_SpecVersion version_;
    PF_InteractCallbacks theirs_{};
    Interview* outer_;
    static inline Interview* current_ = nullptr;
};

// Calls `ask` with an interview in each version.
template <typename Ask>
void InEachVersion(Context& context, Ask ask) {
    for (const PF_SpecVersion version : kHostVersions) {
        Interview interview(context, version);
        ask(interview);
    }
}

bool IsPrintableAscii(std::string_view text);
// The bytes of a record.
template <typename Record>
std::string BytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

}  // namespace validator
