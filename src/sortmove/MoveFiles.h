#pragma once

#include <cstddef>

namespace Kelvane {

class EntryTable;
class Session;

/// Reads the move target (session.target.TargetAreaNumber) into session.target; true when
/// the target must be refused: a CD-ROM or offline area, or one whose file directory cannot
/// be made.
bool GetNewFileArea(Session& session);

/// The move chooser's OK checks for target area number, in order, each refusal with its
/// alert; true when the move may go ahead (session.target is then filled).
bool acceptMoveTarget(Session& session, int targetNumber);

/// Moves the selected entries' files into the target's file directory, appends their
/// entries to the target's Files List at once and removes them from the open list. The
/// source list is not saved here. CancelMove stops the move between entries. Returns the
/// number of entries moved.
std::size_t MoveFiles(Session& session, EntryTable& table);

} // namespace Kelvane
