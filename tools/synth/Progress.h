// SPDX-License-Identifier: Apache-2.0
// A progress bar on standard error, shown only on a terminal.
#pragma once

namespace qorfp::synth {

class Progress {
  public:
    /// `total` steps, at least 1.
    Progress(int total, bool isQuiet);
    /// Clears the bar's line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(int finished) const;

  private:
    int total_;
    bool isShown_;
};

}  // namespace qorfp::synth
