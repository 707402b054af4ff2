# One panel for each function, from the files that math_accuracy writes beside its output. On the
# axis stands the exponent of two of the argument, of b, or of the result d.
directory = data[1:strlen(data) - 4]
set terminal pngcairo size 1000,1100 font 'Sans,9'
set multiplot layout 5,4 margins 0.035,0.985,0.03,0.97 spacing 0.045,0.055
set grid
set yrange [0:1.4]
set ytics 0.5
largest(sign) = sign eq '-' ? 0xc05030 : 0x4070a0
mean(sign) = sign eq '-' ? 0xe8b8a0 : 0xa8c4e0
draw = "file = directory . '/' . name . '.tsv'; set title name . ', ' . axis noenhanced offset 0,-0.7; \
plot file skip 1 using 2:4:(mean(strcol(1))) with points pt 7 ps 0.3 lc rgb variable notitle, \
     file skip 1 using 2:3:(largest(strcol(1))) with points pt 7 ps 0.3 lc rgb variable notitle"

axis = 'a'
set xtics 50
set xrange [-150:130]
do for [name in 'Sin_32f Cos_32f Tan_32f Log10_32f Ln_32f Sqrt_32f'] { @draw }
set xtics 10
set xrange [-35:8]
do for [name in 'Exp_32f_groups Exp_32f_alone'] { @draw }
set xrange [-60:12]
do for [name in 'Exp_64f_groups Exp_64f_alone ExpAccurate_64f'] { @draw }
set xtics 500
set xrange [-1080:1030]
do for [name in 'Sqrt_64f'] { @draw }
axis = 'b'
set xtics 10
set xrange [-10:35]
set yrange [0:4]
do for [name in 'Pow_32f'] { @draw }
set yrange [0:1.4]
do for [name in 'PowAccurate_32f'] { @draw }
set xtics 20
set xrange [-20:70]
do for [name in 'Pow_64f'] { @draw }
axis = 'd'
set xtics 50
set xrange [-150:130]
do for [name in 'Magn_32fc Phase_32fc PowerSpectr_32fc'] { @draw }
set xtics 500
set xrange [-1080:1030]
do for [name in 'PowerSpectr_64fc'] { @draw }
