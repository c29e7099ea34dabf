#include <mpi.h>

#include <cstdlib>
#include <list>

#include "sweep/ranks.h"

namespace workbench {

const bool kHasRanks = true;

namespace {

class MpiRanks : public Ranks {
  public:
    MpiRanks() {
        int given = 0;
        MPI_Init_thread(nullptr, nullptr, MPI_THREAD_FUNNELED, &given);
        MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
        MPI_Comm_size(MPI_COMM_WORLD, &size_);
    }

    int rank() const override { return rank_; }
    int size() const override { return size_; }

    std::string broadcast(std::string text) override {
        unsigned long long size = text.size();
        MPI_Bcast(&size, 1, MPI_UNSIGNED_LONG_LONG, 0, MPI_COMM_WORLD);
        text.resize(size);
        constexpr unsigned long long kPiece = 1U << 30U;
        for (unsigned long long at = 0; at < size; at += kPiece)
            MPI_Bcast(text.data() + at, static_cast<int>(std::min(kPiece, size - at)),
                      MPI_BYTE, 0, MPI_COMM_WORLD);
        return text;
    }

    void send(int rank, Tag tag, std::string bytes) override {
        clearSent();
        Sending& one = sending_.emplace_back();
        one.bytes = std::move(bytes);
        MPI_Isend(one.bytes.data(), static_cast<int>(one.bytes.size()), MPI_BYTE, rank,
                  static_cast<int>(tag), MPI_COMM_WORLD, &one.request);
    }

    std::optional<Message> receive() override {
        clearSent();
        int isThere = 0;
        MPI_Status status;
        MPI_Iprobe(MPI_ANY_SOURCE, MPI_ANY_TAG, MPI_COMM_WORLD, &isThere, &status);
        if (isThere == 0) return std::nullopt;
        int size = 0;
        MPI_Get_count(&status, MPI_BYTE, &size);
        Message message = {status.MPI_SOURCE, static_cast<Tag>(status.MPI_TAG),
                           std::string(static_cast<std::size_t>(size), '\0')};
        MPI_Recv(message.bytes.data(), size, MPI_BYTE, status.MPI_SOURCE, status.MPI_TAG,
                 MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        return message;
    }

    void leave() override {
        for (Sending& one : sending_) MPI_Wait(&one.request, MPI_STATUS_IGNORE);
        MPI_Finalize();
    }

    void abort(int status) override { MPI_Abort(MPI_COMM_WORLD, status); }

  private:
    // Its bytes stay until they have gone out.
    struct Sending {
        std::string bytes;
        MPI_Request request;
    };

    void clearSent() {
        sending_.remove_if([](Sending& one) {
            int isDone = 0;
            MPI_Test(&one.request, &isDone, MPI_STATUS_IGNORE);
            return isDone != 0;
        });
    }

    int rank_ = 0;
    int size_ = 1;
    std::list<Sending> sending_;
};

}  // namespace

// MPI is slow to start, and most commands run alone: what mpirun or Slurm set in the
// environment says whether it is wanted.
std::unique_ptr<Ranks> Ranks::join() {
    for (const char* name : {"OMPI_COMM_WORLD_SIZE", "PMIX_RANK", "PMI_RANK"})
        if (std::getenv(name) != nullptr) return std::make_unique<MpiRanks>();
    return nullptr;
}

}  // namespace workbench
