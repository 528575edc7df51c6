// Nothing: a target that only has precompiled headers needs a source all the same.
