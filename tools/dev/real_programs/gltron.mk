# Builds gltron without sound, with its PNG and zlib readers, in the current folder. Given: SOURCES, SDL (built), SILENCE.
CC = i686-w64-mingw32-gcc-posix
G = $(SOURCES)/gltron
Z = $(SOURCES)/zlib
P = $(SOURCES)/libpng1.6
folders = lua/src lua/src/lib nebu/base nebu/filesystem nebu/input nebu/scripting nebu/video \
  src/base src/configuration src/filesystem src/game src/input src/video
png = png pngerror pngget pngmem pngpread pngread pngrio pngrtran pngrutil pngset pngtrans pngwio pngwrite pngwtran pngwutil
sources = $(foreach f,$(folders),$(wildcard $G/$f/*.c)) $G/src/gltron.c $(wildcard $Z/*.c) $(png:%=$P/%.c) $(SILENCE)
object = $(subst /,_,$(patsubst $(SOURCES)/%.c,%.o,$(1:$(SILENCE)=$(SOURCES)/silence.c)))
flags = -O2 -w -std=gnu89 -fcommon -DLOCAL_DATA -DSEPARATOR="'/'" -DSNAP_DIR='"."' -DPREF_DIR='"."' -DVERSION='"0.70"' \
  -DHAVE_UNISTD_H -DPNG_INTEL_SSE_OPT=0 -I. -I$G/lua/include -I$G/nebu/include -I$G/src/include \
  -I$(SDL)/include -I$(SOURCES)/libsdl1.2/include -I$Z -I$P

gltron.exe: $(foreach s,$(sources),$(call object,$s))
	$(CC) -o $@ $^ -static -L$(SDL)/build/.libs -lmingw32 -lSDLmain -lSDL -lopengl32 -luser32 -lgdi32 -lwinmm

define rule
$(call object,$1): $1
	$(CC) $$(flags) $(if $(findstring scripting/scripting.c,$1),-Dconst=) -c $$< -o $$@
endef
# One file defines functions without the const that its header declares them with.
$(foreach s,$(sources),$(eval $(call rule,$s)))
