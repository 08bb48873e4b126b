// A node of a listing and the nodes below it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace flowscope {

class ListingNode {
 public:
  virtual ~ListingNode() = default;

  // Null if the node has no name, or no data. Valid until the node changes.
  virtual const char* listedName() const = 0;
  virtual const char* listedData() const { return nullptr; }

  // How the line is drawn: attribute bits and colour of a StyledText.
  virtual std::uint32_t listedAttributes() const = 0;
  virtual std::uint32_t listedColour() const = 0;

  virtual std::size_t listedChildCount() const = 0;
  // index must be below the count.
  virtual const ListingNode& listedChild(std::size_t index) const = 0;

 protected:
  ListingNode() = default;
  ListingNode(const ListingNode&) = default;
  ListingNode& operator=(const ListingNode&) = default;
};

}  // namespace flowscope
