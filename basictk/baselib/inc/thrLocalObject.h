// Thread-local objects: one value a thread, all objects behind one POSIX key.
#pragma once

class thrLocalObject;

thrLocalObject *thrLocalObject_Create();
void *thrLocalObject_GetData(const thrLocalObject *object);
void thrLocalObject_SetData(thrLocalObject *object, void *value);
