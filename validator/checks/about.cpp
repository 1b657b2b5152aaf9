// The text that a host shows about the effect.
#include <algorithm>
#include <cstring>

#include "validator/kit/interview.h"
#include "validator/registry.h"

namespace validator {
namespace {

// Sends the command with a message buffer that contains no zero byte.
PF_Err Ask(Interview& interview) {
    interview.SetUp();
    interview.host.account().Reclaim();
    interview.Prepare();
    std::ranges::fill(interview.out.return_msg, 'x');
    return interview.host.Send(PF_Cmd_ABOUT, &interview.in, &interview.out);
}

std::string_view Text(const Interview& interview) {
    const std::string_view all(interview.out.return_msg, std::size(interview.out.return_msg));
    return all.substr(0, all.find('\0'));
}

void Succeeds(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        const PF_Err code = Ask(interview);
        context.Expect(code == PF_Err_NONE, "a " + interview.Name() + " gets code " + std::to_string(code));
    });
}

void HasText(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        Ask(interview);
        context.Expect(!Text(interview).empty() && Text(interview).front() != 'x',
                       "a " + interview.Name() + " gets no text");
    });
}

void EndsInTime(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        Ask(interview);
        const bool untouched = std::ranges::all_of(Text(interview), [](char c) { return c == 'x'; });
        context.Expect(untouched || Text(interview).size() < std::size(interview.out.return_msg),
                       "in a " + interview.Name() + " the text has no end");
    });
}

void WritesTheTextOnly(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        Ask(interview);
        PF_OutData rest = interview.out;
        std::memset(rest.return_msg, 0, sizeof rest.return_msg);
        context.Expect(BytesOf(rest) == BytesOf(PF_OutData{}),
                       "in a " + interview.Name() + " another field of the record is written");
    });
}

void IsPrintable(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        Ask(interview);
        std::string text(Text(interview));
        std::erase_if(text, [](char c) { return c == '\n' || c == '\r'; });
        context.Expect(IsPrintableAscii(text),
                       "a " + interview.Name() + " gets characters that are not printable ASCII");
    });
}

void GivesBack(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        Ask(interview);
        context.ExpectNone(interview.host.account().Outstanding(), "kept");
        context.ExpectNone(interview.host.account().Misuse(), "misuse");
    });
}

constexpr Check kChecks[] = {
    {"about.succeeds", "The about command succeeds.", Where::both, Succeeds},
    {"about.text", "The about command writes a text.", Where::compositor, HasText},
    {"about.bounded", "The about text ends within the message's 256 bytes.", Where::both, EndsInTime},
    {"about.text-only", "The about command writes nothing but the text.", Where::both, WritesTheTextOnly},
    {"about.printable", "The about text is printable ASCII and line ends.", Where::both, IsPrintable},
    {"about.balanced", "The about command gives back everything that it takes from the host.", Where::both,
     GivesBack},
};

}  // namespace

std::span<const Check> AboutChecks() {
    return kChecks;
}

}  // namespace validator
