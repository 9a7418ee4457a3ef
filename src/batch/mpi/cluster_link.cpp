#include "batch/mpi/cluster_link.h"

#include <mpi.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace sorvek {

int rankCount() {
    int count = 1;
    MPI_Comm_size(MPI_COMM_WORLD, &count);
    return count;
}

int ownRank() {
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    return rank;
}

void sendMessage(int destination, MessageTag tag, std::string_view bytes) {
    // A message of 2 GiB or more cannot be counted in an int; no job sends one, since the
    // largest is the scan table and a pair's console text.
    const int byteCount = static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
    MPI_Send(bytes.data(), byteCount, MPI_BYTE, destination, static_cast<int>(tag), MPI_COMM_WORLD);
}

std::optional<Message> pollMessage(int source) {
    int hasArrived = 0;
    MPI_Status status;
    MPI_Iprobe(source < 0 ? MPI_ANY_SOURCE : source, MPI_ANY_TAG, MPI_COMM_WORLD, &hasArrived,
               &status);
    if (hasArrived == 0) return std::nullopt;
    int byteCount = 0;
    MPI_Get_count(&status, MPI_BYTE, &byteCount);
    Message message;
    message.source = status.MPI_SOURCE;
    message.tag = static_cast<MessageTag>(status.MPI_TAG);
    message.bytes.resize(static_cast<std::size_t>(std::max(byteCount, 0)));
    MPI_Recv(message.bytes.data(), byteCount, MPI_BYTE, status.MPI_SOURCE, status.MPI_TAG,
             MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    return message;
}

Message waitForMessage(int source) {
    int idlePolls = 0;
    for (;;) {
        if (std::optional<Message> message = pollMessage(source)) return std::move(*message);
        pauseBetweenPolls(idlePolls);
    }
}

void abortJob(const char* reason) {
    dprintf(STDERR_FILENO, "sorvek-mpi rank %i: %s\n", ownRank(), reason);
    MPI_Abort(MPI_COMM_WORLD, 1);
    std::abort();  // MPI_Abort does not return, though it is not declared so
}

void pauseBetweenPolls(int& idlePolls) {
    // 50 µs at first, so that a pair's round trip costs little; 5 ms once the wait is long.
    idlePolls = std::min(idlePolls + 1, 100);
    std::this_thread::sleep_for(std::chrono::microseconds(50 * idlePolls));
}

}  // namespace sorvek
