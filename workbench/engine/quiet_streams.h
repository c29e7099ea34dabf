// Keeps what the library writes to the standard streams off the terminal.
//
// The search for backups reports switches and failures there; a caller whose standard
// output is a document, or who searches for thousands of backups, wants none of it.
#pragma once

namespace workbench {

// Both streams lead nowhere while the object lives.
class QuietStreams {
  public:
    QuietStreams();
    ~QuietStreams();
    QuietStreams(const QuietStreams&) = delete;
    QuietStreams& operator=(const QuietStreams&) = delete;

  private:
    int savedOut_;
    int savedErr_;
};

}  // namespace workbench
