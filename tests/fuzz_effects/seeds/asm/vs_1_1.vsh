vs_1_1
dcl_position v0
dcl_texcoord1 v2
m4x4 oPos, v0, c0
mov oD0, c[a0.x + 5].zyxw
mov oT0.xy, -v2
sub r1.w, r0.x, c4
mov oFog, r1.w
def c95, 1, 0, -0.5, 2
