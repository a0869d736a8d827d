// The place in a plug-in's file for the builds of the libraries that it was linked with, which cmake/stamp-plugin writes there.
// Empty, it says nothing, and all functions are looked up when the plug-in is loaded.
asm(".pushsection .note.tavola,\"a\",@note\n"
    ".balign 4\n"
    ".long 7, 2048, 1\n"
    ".asciz \"TAVOLA\"\n"
    ".balign 4\n"
    ".zero 2048\n"
    ".popsection\n");
