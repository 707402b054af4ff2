// The list of repairs as a table for other programs, CSV or JSON, written as the work goes on.
#pragma once

#include <string>

#include "apps/popclean/repair.h"
#include "apps/popclean/target_file.h"

namespace zr::popclean {

class RepairList {
 public:
  /// Throws a Failure that lists the known extensions if path has none of them.
  static void CheckName(const std::string& path);

  /// path must pass CheckName; the rate turns samples into seconds.
  RepairList(const std::string& path, int rate);

  void Add(const Repair& repair);

  /// Writes what is left and completes the file.
  void Finish();
  TargetFile& Target() { return target_; }

 private:
  void AddCsv(const Repair& repair, double seconds);
  void AddJson(const Repair& repair, double seconds);

  TargetFile target_;
  const bool isJson_;
  const int rate_;
  bool isFirst_ = true;
  std::string pending_;
};

}  // namespace zr::popclean
