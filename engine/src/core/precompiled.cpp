// Nothing here: this file exists so that the headers can be precompiled.
