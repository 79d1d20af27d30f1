#pragma once
// The pages a table's rows and indexes are written through: reads see every change made
// so far, Modify hands out a page to change in place (the store keeps the original until
// it commits), Allocate takes a page off the global page map, Free gives one back. The
// row and index writers know nothing else of the file or of transactions.
//
// A span from Read or Modify stays valid only until the next call on the store.

#include <cstdint>
#include <string>

#include "core/bytes.h"
#include "core/result.h"

namespace px::jet {

class WritablePages {
 public:
  virtual ~WritablePages() = default;
  virtual const std::string& file_name() const = 0;
  // Pages in the database as it stands.
  virtual uint32_t page_count() const = 0;
  virtual Result<Bytes> Read(uint32_t page) = 0;
  virtual Result<MutableBytes> Modify(uint32_t page) = 0;
  // A new page, zero-filled, marked used in the global page map.
  virtual Result<uint32_t> Allocate() = 0;
  // Marks the page free in the global page map; its bytes are not read again.
  virtual Status Free(uint32_t page) = 0;

  // Scratch space beside the database for sorted index entries (".~NAME.runs.tmp"),
  // dropped when the transaction ends. A store without it (the default) keeps them in
  // memory instead.
  virtual bool has_scratch() const { return false; }
  // Appends the bytes; where they start.
  virtual Result<uint64_t> AppendScratch(Bytes bytes) {
    (void)bytes;
    return Status::NotSupported(file_name() + ": no scratch space");
  }
  virtual Status ReadScratch(uint64_t offset, MutableBytes out) {
    (void)offset;
    (void)out;
    return Status::NotSupported(file_name() + ": no scratch space");
  }

  // Replaces a whole page.
  Status Write(uint32_t page, Bytes bytes) {
    PX_ASSIGN_OR_RETURN(MutableBytes out, Modify(page));
    if (out.size() != bytes.size()) {
      return Status::InvalidArgument(file_name() + ": page " + std::to_string(page) +
                                     ": replacement of the wrong size");
    }
    std::copy(bytes.begin(), bytes.end(), out.begin());
    return Status::Ok();
  }
};

}  // namespace px::jet
