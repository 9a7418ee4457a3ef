// sorvek-mpi: sorvek whose site passes and line RMS passes run over the ranks of an MPI
// job. Rank 0 is the program a user knows; every other rank only computes pairs for it.

#include <mpi.h>

#include <cstdlib>

#include "batch/mpi/cluster_link.h"
#include "batch/mpi/spread_pass.h"
#include "batch/mpi/spread_worker.h"
#include "run/program.h"

namespace {

void releaseRanksAtExit() { sorvek::releaseRanks(); }

}  // namespace

int main(int argc, char** argv) {
    // Only the main thread calls MPI; the owner's computing thread never does.
    int threadSupport = 0;
    MPI_Init_thread(&argc, &argv, MPI_THREAD_FUNNELED, &threadSupport);
    if (sorvek::ownRank() != sorvek::ownerRank) {
        on_exit(sorvek::reportPairAtExit, &sorvek::pairInHand());
        sorvek::serveSpreadPasses();
        MPI_Finalize();
        return 0;
    }
    // However rank 0 ends, the other ranks are let go first. Exit handlers run last
    // registered first, so a pair that ends the process from the owner's thread is handed
    // on before anything else happens.
    std::atexit(releaseRanksAtExit);
    on_exit(sorvek::reportPairAtExit, &sorvek::pairInHand());
    return sorvek::runProgram(argc, argv, sorvek::runSpreadPass);
}
