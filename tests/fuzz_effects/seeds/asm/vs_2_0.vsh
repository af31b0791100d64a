vs_2_0
dcl_normal v1
defi i0, 3, 0, 1, 0
defb b1, true
mova a0.y, r0.x
mov r2, c2[a0.y]
sincos r1.xy, r0.x, c10, c11
loop aL, i0
nrm r3, v1
endloop
if b1
call l1
endif
ret
label l1
ret
