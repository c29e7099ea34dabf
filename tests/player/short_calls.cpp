// Calls during which memory ends.
//
// One in which that happens either fails, with a message about it and the network as it
// was unless a message says that it is "uncomplete" or names one of several LSPs, or it
// gets by without the memory. What follows is as if nothing had happened.

#include "player/capture.h"
#include "player/player.h"
#include "player/short_memory.h"
#include "session/session.h"

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// All of the stack from there on.
std::string textsFrom(std::size_t from) {
    std::string texts;
    for (std::size_t i = from; i < static_cast<std::size_t>(errorManager.top); i++)
        texts.append(errorManager.list[i].message).append("\n");
    return texts;
}

// What a failure may leave behind besides its messages: larger tables, switches.
void sync(twin::Session* session, const SessionItem* real) {
    twin::Database& db = session->db;
    const DataBase* from = real->centralDB;
    db.nodeSlots = from->nodeVec.size;
    db.linkSlots = from->linkSrcVec.size;
    db.lspSlots = from->lspVec.size;
    db.tabSize = from->linkTab.size;
    session->config = real->kavrilConfig;
}

}  // namespace

// The library first: the twin does what the call is found to have done.
void Player::callShort(const std::function<std::string()>& plain,
                       const std::function<std::string()>& real) {
    const Long id = caller_->plain.sessId;
    const Long from = now() != nullptr ? sessions[id]->errorManager.top : 0;
    std::string actual;
    if (runShort(real, &actual)) {
        failed_ = true;
        return judge(actual, textsFrom(static_cast<std::size_t>(from)), plain, real);
    }
    expect(plain(), actual, "result");
    compareAll(0);
}

bool Player::runShort(const std::function<std::string()>& real, std::string* actual) {
    const Capture capture;
    if (rules_.ofMachine)
        vm_.failAllocation(failing_);
    else
        shortenMemory(failing_, rules_.staysShort);
    *actual = real();
    const long left = rules_.ofMachine ? vm_.failAllocation(0) : restoreMemory();
    failing_ = left;
    if (left == 0 && rules_.staysShort && shortCalls_-- > 0) failing_ = 1;
    return left == 0;
}

void Player::judge(const std::string& actual, const std::string& texts,
                   const std::function<std::string()>& plain,
                   const std::function<std::string()>& real) {
    trace_.back()
        .append(" = ")
        .append(actual)
        .append(", memory has ended\n")
        .append(texts);
    // The last of these: there was no room for the message that tells.
    for (const char* part : {"uncomplete", "Impossible to add BACKUP LSP",
                             "Impossible to remove LSP", "resizing error manager"})
        if (contains(texts, part)) throw twin::GivenUp();
    // Without an exception: no session, or no link, whose state could not be had.
    const Long id = caller_->plain.sessId;
    const std::string& what = trace_.back();
    const bool hasNothing =
        (contains(what, " init ") && FakeVm::sessId(caller_->object) == id) ||
        (contains(what, " addLink ") && now() != nullptr &&
         sessions[id]->centralDB->nbLinks == db().nbLinks);
    const bool isFailure =
        hasNothing || contains(actual, "Exception") || contains(actual, "Error");
    if (!isFailure) {
        const std::string expected = plain();
        if (rules_.tame && expected != actual) throw twin::GivenUp();
        expect(expected, actual, "result with less memory");
        return compareAll(0);
    }
    if (texts.empty() && !contains(actual, "OutOfMemoryError") && !rules_.staysShort)
        throw Difference("fails without a message");
    // An LSP that is added and taken off again leaves reservations that are not stale.
    if (rules_.tame && contains(actual, "OutOfMemoryError")) throw twin::GivenUp();
    if (now() != nullptr) sync(now(), sessions[id]);
    twin::now.cost = COST;
    twin::now.nbOA = NBOA;
    twin::now.nbPL = NBPL;
    compareAll(0);
    if (rules_.staysShort) return;
    const Capture capture;  // again, now that there is memory
    expect(plain(), real(), "result of the second try");
    compareAll(0);
}
