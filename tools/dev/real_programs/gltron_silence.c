/* What gltron wants of the parts that are left out: sound, and the search for an installed copy. */
void Audio_CrashPlayer(int player) {}
void Audio_DisableEngine(void) {}
void Audio_EnableEngine(void) {}
void Audio_Idle(void) {}
void Audio_Init(void) {}
void Audio_LoadMusic(char* name) {}
void Audio_LoadPlayers(void) {}
void Audio_LoadSample(char* name, int number) {}
void Audio_PlayMusic(void) {}
void Audio_Quit(void) {}
void Audio_SetFxVolume(float volume) {}
void Audio_SetMusicVolume(float volume) {}
void Audio_Start(void) {}
void Audio_StartEngine(int player) {}
void Audio_StopEngine(int player) {}
void Audio_StopMusic(void) {}
void Sound_idle(void) {}
void Sound_init(void) {}
void Sound_initTracks(void) {}
void Sound_load(char* name) {}
void Sound_loadFX(void) {}
void Sound_play(void) {}
void Sound_reloadTrack(void) {}
void Sound_setFxVolume(float volume) {}
void Sound_setMusicVolume(float volume) {}
void Sound_setup(void) {}
void Sound_shutdown(void) {}
void Sound_stop(void) {}
void goto_installpath(const char* executable) {}
