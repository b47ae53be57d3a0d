#pragma once

// --options: the plug-in's options page in a dialog of its own.

class AbstractExporterFactory;
class IniSettingsSynchronizer;

// Shows the factory's options page with OK, Apply and Cancel until the user closes it. Apply
// and OK store the page's choices through `settings` (the store the factory was given); Cancel
// discards what was not applied. Answers the exit status: 1 when the settings file could not
// be written.
int runOptionsDialog(AbstractExporterFactory& factory, const IniSettingsSynchronizer& settings);
