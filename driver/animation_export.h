#pragma once

class ExportedAnimation;
class Project;

// Fills `animation` from the project: the text naming the soundtrack by its file name alone,
// each data item's scene or image under its path, and every texture the scenes use, merged by
// file name and embedded. The scenes in memory change for good: they give up their texture
// lists, and their stages may point at merged textures. Shows two reports of what went in.
void collectAnimation(Project& project, ExportedAnimation& animation);
