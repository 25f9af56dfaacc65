#pragma once

#include "StandInHost.h"
#include "StandInMedia.h"

/// Opens a project in the stand-in whose frame is one of its formats; StandInHost::resetMedia() closes it.
inline void openCustomProject()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    StandInHost::Format format;
    format.identifier = 4711;
    format.frame = {1080, 1920};
    format.description = QStringLiteral("Upright");
    format.rate = {25, 1};
    format.compatible = {4711};
    catalogue.formats.append(format);
    StandInHost::setCatalogue(catalogue);
    StandInHost::Project project = StandInHost::project();
    project.type = HostMediaEngine::kCustomFormatProjectType;
    project.targetFormat = format.identifier;
    StandInHost::setProject(project);
}
