#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace velmora {

/// Tells one marked folder from every other, whatever it is called.
struct MarkKey {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    friend bool operator==(const MarkKey&, const MarkKey&) = default;
};

/// What the system says happened in a marked folder. Several things that happened to one name may come as one event.
struct DirectoryEvent {
    MarkKey folder;
    std::string name;        ///< in bytes; empty: the marked folder itself has moved or gone
    bool isFolder = false;   ///< the name is that of a folder
    bool isListing = false;  ///< a name came or went
    bool hasAppeared = false;
    bool hasMovedAway = false;
};

struct DirectoryEvents {
    std::vector<DirectoryEvent> events;
    bool hasOverflowed = false;  ///< the system has dropped events
};

/// One of the interfaces with which the system reports changes in single folders.
///
/// Runs on: one thread. Owns: its descriptor and, through it, the marks.
class DirectoryMarks {
  public:
    enum class Failure {
        refused,    ///< this folder cannot be marked this way
        exhausted,  ///< no more folders can be
    };

    virtual ~DirectoryMarks() = default;

    /// Marks an open folder; marking one again changes nothing. A root also reports its own moving and going.
    virtual std::variant<MarkKey, Failure> add(int folder, bool isRoot) = 0;

    /// Takes a mark off. False when that cannot be done without knowing where the folder is.
    virtual bool remove(MarkKey mark) = 0;

    /// Appends whatever has been reported, without waiting.
    virtual void read(DirectoryEvents& events) = 0;

    [[nodiscard]] virtual bool owns(MarkKey mark) const = 0;

    /// The descriptor to wait on for something to read.
    [[nodiscard]] virtual int descriptor() const = 0;

    /// How many marks to take at most: half of what the system gives the user, the rest is for other programs.
    [[nodiscard]] virtual std::size_t limit() const = 0;
};

/// fanotify without privileges (Linux 5.13). Nothing where the system refuses it.
std::unique_ptr<DirectoryMarks> makeFanotifyMarks();

/// inotify. Nothing when the user's instances are used up.
std::unique_ptr<DirectoryMarks> makeInotifyMarks();

/// Half of the number in a file of /proc/sys.
std::size_t halfOfLimit(const char* file);

}  // namespace velmora
