// tavrin-board-viewer: the commands watch and preview, with their terminal, window and contact sheet. tavrin-board executes
// it for them. So a machine on which nobody watches needs no library for windows and pictures.
#ifndef VIEWER_H
#define VIEWER_H

#include "Program.h"

namespace SoftwareBoard::Viewer
{
Panel::Action AddPreview(CLI::App& roCommand, const Panel::PassedOn& roPassedOn);
Panel::Action AddWatch(CLI::App& roCommand, const Panel::PassedOn& roPassedOn);
}

#endif
