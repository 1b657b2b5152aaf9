// The inside of a Host.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "reference_host/host.h"
#include "reference_host/internal/account_state.h"
#include "reference_host/internal/command.h"
#include "reference_host/internal/row_team.h"

namespace refhost {

struct Host::Impl {
    Impl(PluginLibrary effect, HostOptions hostOptions)
        : library(std::move(effect)), options(std::move(hostOptions)) {}

    PluginLibrary library;
    HostOptions options;
    Account account;
    RowTeam team;

    PF_OutData out{};
    std::vector<PF_ParamDef> parameters;
    std::deque<std::string> choices;  // the popups' texts, to which parameters point, also from earlier set-ups
    PF_Handle globalData = nullptr;

    std::shared_ptr<Account::State> SharedState() const { return account.state_; }
    Account::State& State() const { return *account.state_; }
    PF_InData InData();
    PF_Err SetUpCommand(PF_Cmd cmd);
    PF_Err Send(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra, RunningRender* running);
    // Makes the host the owner of the handles that the effect has put into the out data. After a set-down command,
    // the effect becomes the owner of the handles that it should have freed.
    void MoveOwnership(const Command& command, const PF_OutData* outData);
};

}  // namespace refhost
