// A precompiled header needs a source file that is built with it.
