// The commands of tavrin-board-viewer. `tavrin-board watch` and `tavrin-board preview` run it, so that a machine on which
// nobody watches needs no library for windows and pictures.
#ifndef VIEWER_H
#define VIEWER_H

#include "Program.h"

namespace SoftwareBoard::Viewer
{
Panel::Action AddPreview(CLI::App& roCommand, const Panel::PassedOn& roPassedOn);
Panel::Action AddWatch(CLI::App& roCommand, const Panel::PassedOn& roPassedOn);
}

#endif
