#pragma once
// The messages between the processes of an MPI job, as strings of bytes with a tag. Rank 0
// owns the run; every other rank computes pairs for it. Waiting is done by asking for a
// message now and then, with short sleeps in between: a blocking receive would keep a
// core busy for as long as it waits, and a rank may wait a whole run for its first job.

#include <optional>
#include <string>
#include <string_view>

namespace sorvek {

inline constexpr int ownerRank = 0;

enum class MessageTag : int {
    job = 1,  // owner to rank: a pass begins; the bytes are a JobSetup
    task,     // owner to rank: compute this PairTask
    passEnd,  // owner to rank: the pass is over; wait for the next job
    quit,     // owner to rank: the run is over; answer with bye and end
    ask,      // rank to owner: ready for its first task of a pass
    result,   // rank to owner: a PairResult, which also asks for the next task
    bye,      // rank to owner: ending now
};

struct Message {
    int source = 0;                     // rank that sent it
    MessageTag tag = MessageTag::quit;  // what it is
    std::string bytes;                  // what it carries
};

// Ranks in the job, this one included, and this process's own rank.
int rankCount();
int ownRank();

void sendMessage(int destination, MessageTag tag, std::string_view bytes);

// A message from `source` (any rank when it is negative) if one has arrived.
std::optional<Message> pollMessage(int source);

// The next message from `source`, however long it takes to come.
Message waitForMessage(int source);

// A short sleep between two polls; longer the longer nothing has come, up to a few ms.
void pauseBetweenPolls(int& idlePolls);

// Ends every process of the job at once, after saying why on this process's standard error
// (its descriptor, whatever stream stderr points at meanwhile). For what the job cannot
// survive: a damaged message, or a rank that cannot take part.
[[noreturn]] void abortJob(const char* reason);

}  // namespace sorvek
