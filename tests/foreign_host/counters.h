#pragma once

// How many nodes of blocks are alive, whoever made them; the default node is one.
long LiveNodes();

// The next object at this address that is deleted is kept and overwritten. IsKeptUntouched: nobody
// has written to it since.
void KeepWhenDeleted(void* object);
bool IsKeptUntouched();
