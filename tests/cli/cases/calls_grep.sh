tlr2_replay calls --grep "GL_TEXTURE_2D|Clear" small.tlr2-capture
