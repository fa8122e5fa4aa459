#ifndef VELKOR_PANEL_CONTEXT_TAG_ARGUMENTS_H
#define VELKOR_PANEL_CONTEXT_TAG_ARGUMENTS_H

#include "panel/context/context.h"
#include "panel/watch/panel_tag.h"

namespace panel {

/// The tags that watch's arguments name: a file of tags, or REGISTER:ADDRESS[:COUNT]..., each with
/// PLC/ before it when there are several. The result is an exit code; on a fault standard error has
/// been told.
int loadTags(const Context& context, QVector<PanelTag>* tags);

/// The tags of a file.
int loadTagFile(const Context& context, const QString& path, QVector<PanelTag>* tags);

} // namespace panel

#endif
