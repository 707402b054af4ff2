set terminal pngcairo size 800,640 font 'Sans,10'
set multiplot layout 2,1 margins 0.08,0.88,0.09,0.95 spacing 0.1
set palette defined (0 '#ffffff', 0.5 '#4070a0', 1 '#102030')
set xrange [0:4.48]
set yrange [0:7.95]
set cbrange [-90:-30]
set cblabel 'level, dB'
set ylabel 'frequency, kHz'
set title 'noisy' offset 0,-0.5
plot data index 0 using 1:2:3 with image notitle
set title 'suppressed by the Wiener rule'
set xlabel 'time, s'
plot data index 1 using 1:2:3 with image notitle
