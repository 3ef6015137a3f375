#pragma once

// One chain of directories of one kind. Constructing a tree reads the whole chain; making its
// record hands all values over. It owns its directories. One thread.
//
// Members are defined in ifd_tree.cpp (reading) and records.cpp (the record).

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "adapter/values.h"
#include "dict/ifd_type.h"
#include "dict/row_set.h"
#include "ifd/ifd.h"
#include "stream/wide.h"

namespace ifdsweep::module {

class TiffStream;

class IFDTree {
public:
    /// An empty tree of the primary kind.
    IFDTree() = default;

    /// Reads the chain that begins at the stream's position. Damage that ends the chain warns
    /// (`badNextIfdPointerSeek`, `nextIfdPointerOutOfRange`, `nextIfdOffsetReadError`) and keeps
    /// what was read; so does, if the rules say so, a directory that is too large for its segment
    /// or cannot be read. Otherwise `TiffTagsRecoverableError` or the error `badIFDread` leaves the
    /// constructor, and the chain is lost.
    IFDTree(TiffStream* file, IFDtype_t_ kind);

    /// The number of directories.
    [[nodiscard]] std::size_t size() const { return ifds.size(); }

    /// The [N, 1] record array of the chain, one element per directory; an empty 0-by-0 double
    /// array when there is none. It takes the values out of the tree.
    [[nodiscard]] OwnedValue repackageIfds();

private:
    void processIfdSet();
    void endWithout(IFD::Ending ending, bool isFirst);
    [[nodiscard]] bool seekToNext(Wide nextField);
    void addNames(const IFD& ifd);
    [[nodiscard]] std::uint64_t readNextIfdOffset();
    [[nodiscard]] std::vector<const char*> fieldNames() const;
    [[nodiscard]] bool tagAlreadyOnDefaultList(std::size_t row) const;
    void setDefaultQxFields(qxArray* records);
    void setDerivedFields(qxArray* records, std::size_t index) const;

    TiffStream* tagFile = nullptr;  // not owned
    IFDtype_t_ ifdType = primaryIFD;
    std::deque<IFD> ifds;  // in the order read; never moved, there can be millions
    RowSet tagNames;       // rows of the kind's dictionary: names that occur
    bool hasUnknownTags = false;
    bool hasMore = false;  // in some directory, something that was not asked for
};

}  // namespace ifdsweep::module
