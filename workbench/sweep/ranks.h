// Processes of one sweep on many machines: messages between the first, which hands out
// the work, and the others. By MPI; in a build without it there is one process.
//
// Only the thread that has called join() may use the rest.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace workbench {

enum class Tag { HELLO, BATCH, RESULT, STOP };

struct Message {
    int rank = 0;  // who has sent it
    Tag tag = Tag::STOP;
    std::string bytes;
};

class Ranks {
  public:
    virtual ~Ranks() = default;

    virtual int rank() const = 0;
    virtual int size() const = 0;

    // The same text everywhere: that of the first.
    virtual std::string broadcast(std::string text) = 0;

    // Comes back at once; the message is on its way.
    virtual void send(int rank, Tag tag, std::string bytes) = 0;
    // A message that has come, if there is one.
    virtual std::optional<Message> receive() = 0;

    // All are done.
    virtual void leave() = 0;
    // This one gives up, and takes the others along.
    virtual void abort(int status) = 0;

    // Null unless the program was started as one of several processes.
    static std::unique_ptr<Ranks> join();
};

// Whether this build can.
extern const bool kHasRanks;

}  // namespace workbench
