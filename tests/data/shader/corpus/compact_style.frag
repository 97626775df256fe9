#version 450
#define saturate(x) clamp(x,0.,1.)
#define rot(a) mat2(cos(a),sin(a),-sin(a),cos(a))
#define R iRes.xy
layout(location=0)out vec4 O;layout(push_constant)uniform P{vec3 iRes;float iTime;vec4 iMouse;};
float box(vec3 p,vec3 b){vec3 q=abs(p)-b;return length(max(q,0.))+min(max(q.x,max(q.y,q.z)),0.);}
float map(vec3 p){p.xz*=rot(iTime*.3);p.xy*=rot(.7);float d=1e9,s=1.;for(int i=0;i<4;i++){vec3 a=mod(p*s,2.)-1.;s*=3.;vec3 r=abs(1.-3.*abs(a));d=max(box(p,vec3(1)),-((min(max(r.x,r.y),min(max(r.y,r.z),max(r.z,r.x)))-1.)/s)*-1.);}return d;}
void main(){vec2 u=(gl_FragCoord.xy*2.-R)/R.y;vec3 o=vec3(0,0,-4),d=normalize(vec3(u,1.8)),c=vec3(0);float t=0.,h;int i=0;
for(;i<64;++i){h=map(o+d*t);if(h<.001||t>9.)break;t+=h;}
if(t<9.){vec2 e=vec2(.001,0.);vec3 p=o+d*t,n=normalize(vec3(map(p+e.xyy)-map(p-e.xyy),map(p+e.yxy)-map(p-e.yxy),map(p+e.yyx)-map(p-e.yyx)));
c=vec3(.9,.6,.3)*saturate(dot(n,normalize(vec3(1,2,-3))))*(1.-float(i)/64.);}
O=vec4(sqrt(c),1);}
