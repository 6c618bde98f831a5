#pragma once

class QMenu;
class QMenuBar;

namespace Kelvane {

class FrameHost;

/// Adds the main frame's Help menu to bar: "&Contents", "&Search For Help On...", "&About
/// Kelvane..." and "&Technical Support Info", each handed to host. The frame and the lists of
/// areas carry the same items from here.
QMenu* addHelpMenu(QMenuBar& bar, FrameHost& host);

} // namespace Kelvane
